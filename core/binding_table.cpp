// The platforms that have a driver, and the builder of each sensor they carry.
#include "core/binding.h"
#include "core/record.h"
#include "drivers/briar.h"
#include "drivers/briar_r3.h"
#include "drivers/demo/demo.h"
#include "drivers/heron.h"
#include "drivers/heron_plus.h"
#include "drivers/larch.h"
#include "drivers/osprey.h"
#include "drivers/osprey_plus.h"
#include "drivers/r4_dsp.h"
#include "drivers/sep.h"
#include "drivers/tarn3.h"
#include "drivers/tarn4.h"
#include "drivers/tarn4_plus.h"
#include "drivers/tarn5/tarn5.h"
#include "drivers/tarn_u.h"
#include "drivers/tolm.h"
#include "drivers/tolm_e.h"
#include "drivers/unod.h"
#include "links/adaptor.h"
#include "links/usb_link.h"
#include "sequencer/builders/builders.h"
#include "sequencer/firmware_geometry.h"

// clang-format off
const PlatformBinding PlatformBindings[] = {
    // code extra  decimals wiring link  polarity rules           close on USB
    {   1,  Keep,  1,       Keep,  0,    Keep,    DemoRules,      nullptr },
    {  22,  Keep,  2,       0,     Keep, 0,       Tarn3Rules,     nullptr },
    {  23,  Keep,  2,       0,     Keep, 1,       Tarn3Rules,     nullptr },
    {  24,  Keep,  2,       0,     Keep, 0,       Tarn4Rules,     nullptr, &Tarn4Extras },
    {  25,  Keep,  2,       0,     Keep, 0,       Tarn4PlusRules, nullptr, &Tarn4PlusExtras },
    {  28,  Keep,  1,       Keep,  Keep, Keep,    Tarn5Rules,     CloseAdaptor, &Tarn5Extras },
    {  29,  0,     3,       0,     Keep, Keep,    TarnURules,     UsbCloseDevice, &TarnUExtras },
    {  30,  6,     1,       0,     Keep, Keep,    LarchRules,     nullptr, &LarchExtras },
    {  40,  6,     1,       0,     Keep, Keep,    BriarPortRules, nullptr, &BriarExtras },
    {  41,  6,     1,       0,     Keep, Keep,    BriarIsaRules,  nullptr, &BriarExtras },
    {  42,  6,     1,       0,     Keep, Keep,    BriarPciRules,  nullptr, &BriarPciExtras },
    {  44,  6,     1,       0,     Keep, Keep,    R3Rules,        nullptr, &R3Extras },
    {  47,  6,     1,       0,     Keep, Keep,    R3Rules,        nullptr, &R3PlusExtras },
    {  48,  0,     3,       0,     Keep, Keep,    R4DspRules,     CloseR4Dsp, &R4DspExtras },
    {  60,  6,     1,       Keep,  Keep, Keep,    HeronRules,     nullptr },
    {  61,  6,     1,       Keep,  Keep, Keep,    HeronPlusRules, UsbCloseDevice, &HeronPlusExtras },
    {  70,  Keep,  1,       Keep,  Keep, Keep,    UnodRules,      nullptr },
    {  71,  Keep,  1,       2,     Keep, Keep,    Unod2Rules,     nullptr },
    {  80,  6,     2,       0,     Keep, Keep,    SepRules,       nullptr },
    { 200,  Keep,  1,       Keep,  Keep, Keep,    OspreyRules,    UsbCloseDevice, &OspreyExtras },
    { 205,  Keep,  1,       Keep,  Keep, Keep,    OspreyPlusRules, CloseOspreyPlus, &OspreyPlusExtras },
    { 300,  6,     1,       Keep,  Keep, Keep,    TolmERules,     CloseTolmE, &TolmEExtras },
    { 400,  0,     3,       0,     Keep, Keep,    TolmRules,      CloseTolm },
    { 450,  6,     1,       Keep,  Keep, Keep,    TolmERules,     CloseTolmE, &TolmEExtras },
    {},
};

namespace {

// The Kaf sensors of platforms 22, 23, 24 and 30.
const int32_t KafSensors[] = {250, 255, 260, 270, 275, 0};
const int32_t SiteSensors[] = {300, 305, 310, 0};
const int32_t Tarn4CcdSensors[] = {120, 121, 125, 128, 0};
const int32_t Tarn4pKafSensors[] = {250, 255, 260, 270, 275, 279, 285, 0};
const int32_t Tarn5CcdSensors[] = {120, 125, 0};
const int32_t SuSensors[] = {500, 506, 0};
const int32_t SepCcd442Sensors[] = {2000, 2001, 0};
const int32_t OspreyCcd55Sensors[] = {134, 135, 0};
const int32_t Ccd3011[] = {120, 0};
const int32_t Ccd3011b[] = {133, 0};
const int32_t Ccd4210[] = {122, 0};
const int32_t Ccd4240[] = {123, 0};
const int32_t Ccd4710[] = {125, 0};
const int32_t Ccd4720[] = {128, 0};
const int32_t Ccd442[] = {2000, 0};
const int32_t Ccd485[] = {2005, 0};
const int32_t Kaf4300[] = {281, 0};
const int32_t Kaf16800[] = {290, 0};

} // namespace

// The specific rows stand ahead of the general. Where a platform lists its sensors
// one by one, an unlisted one has no row.
const BuilderRow BuilderRows[] = {
    // platform, sensors, builder, link, extra
    {   1, nullptr,            BuildWaveNone },
    {  22, KafSensors,         BuildWaveTarn3Kaf,       AnyLink, 0 },
    {  22, SiteSensors,        BuildWaveSite,           AnyLink, 0 },
    {  23, KafSensors,         BuildWaveTarn3Kaf,       AnyLink, 0 },
    {  23, SiteSensors,        BuildWaveSite,           AnyLink, 0 },
    {  24, SiteSensors,        BuildWaveSite,           AnyLink, 0 },
    {  24, Tarn4CcdSensors,    BuildWaveTarn4Ccd,       AnyLink, 0 },
    {  24, Ccd4210,            BuildWaveTarn4Ccd4210,   AnyLink, 0 },
    {  24, Ccd3011b,           BuildWaveTarn4Ccd3011b,  AnyLink, 0 },
    {  24, KafSensors,         BuildWaveTarn4Kaf,       AnyLink, 0 },
    {  24, Ccd442,             BuildWaveTarn4Ccd442,    AnyLink, 0 },
    {  25, Ccd4240,            BuildWaveTarn4pCcd4240,  AnyLink, 0 },
    {  25, Ccd4710,            BuildWaveTarn4pCcd4710,  AnyLink, 0 },
    {  25, Ccd4720,            BuildWaveTarn4pCcd4720,  AnyLink, 0 },
    {  25, Tarn4pKafSensors,   BuildWaveTarn4pKaf,      AnyLink, 0 },
    {  25, Kaf16800,           BuildWaveTarn4pKaf16800, AnyLink, 0 },
    {  28, Tarn5CcdSensors,    BuildWaveTarn5Ccd },
    {  28, Ccd3011b,           BuildWaveTarn5Ccd,       InterfaceUsb },
    {  28, Ccd442,             BuildWaveTarn5Ccd442,    InterfaceUsb },
    {  28, nullptr,            BuildWaveTarn5 },
    {  29, nullptr,            BuildWaveTarnU },
    {  30, Ccd4240,            BuildWaveLarchCcd4240 },
    {  30, KafSensors,         BuildWaveLarchKaf },
    {  30, Kaf4300,            BuildWaveLarchKaf4300 },
    {  30, SuSensors,          BuildWaveNone },
    {  40, nullptr,            BuildWaveBriar },
    {  41, nullptr,            BuildWaveBriar },
    {  42, nullptr,            BuildWaveBriar },
    {  44, nullptr,            BuildWaveR3 },
    {  47, nullptr,            BuildWaveR3Plus },
    {  48, nullptr,            StoreBinning },
    {  60, nullptr,            BuildWaveHeron },
    {  61, nullptr,            BuildWaveHeronPlus },
    {  70, nullptr,            BuildWaveUnod },
    {  71, nullptr,            BuildWaveUnod },
    {  80, SepCcd442Sensors,   BuildWaveSepCcd442 },
    {  80, Ccd485,             BuildWaveSepCcd485 },
    { 200, Ccd3011,            BuildWaveOspreyCcd3011 },
    { 200, Ccd4710,            BuildWaveOspreyCcd4710 },
    { 200, nullptr,            BuildWaveOspreyKaf },
    { 205, Ccd3011,            BuildWaveOspreyCcd3011 },
    { 205, Ccd4710,            BuildWaveOspreyPlusCcd4710 },
    { 205, Ccd3011b,           BuildWaveOspreyPlusCcd3011b },
    { 205, OspreyCcd55Sensors, BuildWaveOspreyPlusCcd55 },
    { 205, nullptr,            BuildWaveOspreyPlusKaf },
    { 300, nullptr,            BuildWaveCommand },
    { 400, nullptr,            StoreBinning },
    { 450, nullptr,            BuildWaveCommand },
    {},
};
// clang-format on
