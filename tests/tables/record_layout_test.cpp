// The three records that hosts in any language share with the library, field by field as
// their layout is written down.
#include <gtest/gtest.h>

#include <cstddef>

#include "include/qvn.h"

#define EXPECT_PLACE(record, field, place, bytes)                                                  \
    EXPECT_EQ(offsetof(record, field), size_t{place});                                             \
    EXPECT_EQ(sizeof(record::field), size_t{bytes})

TEST(RecordLayout, CameraConfigHasItsFieldsInPlace)
{
    EXPECT_EQ(sizeof(CameraConfig), 156u);
    EXPECT_PLACE(CameraConfig, AD, 0, 4);
    EXPECT_PLACE(CameraConfig, Platform, 4, 4);
    EXPECT_PLACE(CameraConfig, CCD, 8, 4);
    EXPECT_PLACE(CameraConfig, InterfaceType, 12, 4);
    EXPECT_PLACE(CameraConfig, InterfaceAddress, 16, 4);
    EXPECT_PLACE(CameraConfig, CameraAddress, 20, 4);
    EXPECT_PLACE(CameraConfig, PciIndex, 24, 4);
    EXPECT_PLACE(CameraConfig, InterfaceLink, 28, 4);
    EXPECT_PLACE(CameraConfig, FilterWheel, 32, 4);
    EXPECT_PLACE(CameraConfig, FilterWheelPortAddress, 36, 4);
    EXPECT_PLACE(CameraConfig, FilterWheelPortType, 40, 4);
    EXPECT_PLACE(CameraConfig, ShutterType, 44, 4);
    EXPECT_PLACE(CameraConfig, ShutterHisteresys, 48, 4);
    EXPECT_PLACE(CameraConfig, CcdOutput, 52, 4);
    EXPECT_PLACE(CameraConfig, CcdTechnology, 56, 4);
    EXPECT_PLACE(CameraConfig, CcdBackFront, 60, 4);
    EXPECT_PLACE(CameraConfig, Process, 64, 4);
    EXPECT_PLACE(CameraConfig, Activity, 68, 4);
    EXPECT_PLACE(CameraConfig, LongCable, 72, 4);
    EXPECT_PLACE(CameraConfig, DefectiveList, 76, 80);
}

TEST(RecordLayout, PlatformDefinitionHasItsFieldsInPlace)
{
    EXPECT_EQ(sizeof(PlatformDefinition), 88u);
    EXPECT_PLACE(PlatformDefinition, Spare, 0, 2);
    EXPECT_PLACE(PlatformDefinition, ADbit, 2, 2);
    EXPECT_PLACE(PlatformDefinition, FpgaId, 4, 2);
    EXPECT_PLACE(PlatformDefinition, VerticalPhasePeriod, 6, 2);
    EXPECT_PLACE(PlatformDefinition, NumberOfGains, 8, 2);
    EXPECT_PLACE(PlatformDefinition, AntiBloomingTimer, 10, 2);
    // Four bytes are free: the floats stand at multiples of eight.
    EXPECT_PLACE(PlatformDefinition, TimeBase, 16, 8);
    EXPECT_PLACE(PlatformDefinition, AmplifierDelay, 24, 8);
    EXPECT_PLACE(PlatformDefinition, ADclock, 32, 8);
    EXPECT_PLACE(PlatformDefinition, SamplingClock, 40, 16);
    EXPECT_PLACE(PlatformDefinition, Gain, 56, 32);
}

TEST(RecordLayout, CcdDefinitionHasItsFieldsInPlace)
{
    EXPECT_EQ(sizeof(CcdDefinition), 72u);
    EXPECT_PLACE(CcdDefinition, Manufacturer, 0, 2);
    EXPECT_PLACE(CcdDefinition, Xpix, 2, 2);
    EXPECT_PLACE(CcdDefinition, Ypix, 4, 2);
    EXPECT_PLACE(CcdDefinition, Dummy, 6, 8);
    EXPECT_PLACE(CcdDefinition, HorDummyPix, 14, 2);
    EXPECT_PLACE(CcdDefinition, HorRegSize, 16, 2);
    EXPECT_PLACE(CcdDefinition, Antiblooming, 18, 2);
    EXPECT_PLACE(CcdDefinition, MultipleOutput, 20, 2);
    EXPECT_PLACE(CcdDefinition, Shutter, 22, 2);
    EXPECT_PLACE(CcdDefinition, XpixDim, 24, 8);
    EXPECT_PLACE(CcdDefinition, YpixDim, 32, 8);
    EXPECT_PLACE(CcdDefinition, Xarea, 40, 8);
    EXPECT_PLACE(CcdDefinition, Yarea, 48, 8);
    EXPECT_PLACE(CcdDefinition, FWC, 56, 8);
    EXPECT_PLACE(CcdDefinition, CCF, 64, 8);
}
