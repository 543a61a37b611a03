// What a host program is told when it opens a camera whose card or ports are not
// to be had, through the exported functions alone. No camera answers in the
// virtual machine.
#include <gtest/gtest.h>

#include <cstdio>

#include "include/qvn.h"
#include "tests/native/nobody.h"

namespace {

constexpr int32_t Camera = 0, Sensor = 275;
constexpr int32_t Briar = 40, BriarIsa = 41, BriarPci = 42;
constexpr int32_t PrinterPort = 0x378, EmptyPorts = 0x300;

// The error of the open.
int32_t Open(int32_t platform, int32_t address, int32_t interfaceType, uint32_t options)
{
    QV_SetPathName("/share");
    QV_Open(platform, Sensor, address, interfaceType, 0, Camera, options, nullptr, nullptr);
    EXPECT_EQ(QV_IsOn(Camera), 0);
    return QV_Status(Camera);
}

} // namespace

TEST(OpenBeforeVfio, CardHasNoDriver)
{
    EXPECT_EQ(Open(BriarPci, 0, QV_INTERFACE_PCI_CARD, 0), QV_ERROR_DRIVER_HANDLE);
}

TEST(OpenWithVfio, CardIsNotFound)
{
    EXPECT_EQ(Open(BriarPci, 0, QV_INTERFACE_PCI_CARD, 0), QV_ERROR_CARD_NOT_FOUND);
}

TEST(OpenWithVfio, DriverTellsItsVersion)
{
    char text[256] = {};
    EXPECT_EQ(QV_WDVer(text, Camera), 600u);
    EXPECT_EQ(text[0], 'q') << text;
}

TEST(OpenPorts, RefusedPortsAreAnErrorAndNoSignal)
{
    EXPECT_EQ(AsNobody([] {
                  return static_cast<int>(Open(Briar, PrinterPort, QV_INTERFACE_PRINTER_PORT, 0));
              }),
              QV_ERROR_CAMERA_NOT_FOUND);
    EXPECT_EQ(AsNobody([] {
                  return static_cast<int>(Open(BriarIsa, EmptyPorts, QV_INTERFACE_PORT_CARD, 0));
              }),
              QV_ERROR_CAMERA_NOT_FOUND);
}

TEST(OpenPorts, PortCardIsNotWhereNothingAnswers)
{
    EXPECT_EQ(Open(BriarIsa, EmptyPorts, QV_INTERFACE_PORT_CARD, 0), QV_ERROR_CARD_NOT_FOUND)
        << "its status reads as all ones";
}

TEST(OpenPorts, PrinterPortWithoutACameraHasNoVersion)
{
    EXPECT_EQ(Open(Briar, PrinterPort, QV_INTERFACE_PRINTER_PORT, 0), QV_ERROR_CAMERA_NOT_FOUND);
}

// Before the library is loaded for good.
TEST(OpenPorts, PortLibraryThatIsMissingIsAnError)
{
    ASSERT_EQ(rename("/usr/lib/libio.so", "/usr/lib/away"), 0);
    EXPECT_EQ(Open(BriarIsa, EmptyPorts, QV_INTERFACE_PORT_CARD, QV_OPTION_PORT_LIBRARY),
              QV_ERROR_PORT_LIBRARY);
    ASSERT_EQ(rename("/usr/lib/away", "/usr/lib/libio.so"), 0);
}

TEST(OpenPorts, PortLibraryNeedsNoRights)
{
    EXPECT_EQ(AsNobody([] {
                  return static_cast<int>(
                      Open(BriarIsa, EmptyPorts, QV_INTERFACE_PORT_CARD, QV_OPTION_PORT_LIBRARY));
              }),
              QV_ERROR_CARD_NOT_FOUND)
        << "the ports of the library read 0";
}
