#include "tests/support/fake_camera.h"

#include <cstdio>

#include "core/flags.h"
#include "core/record.h"
#include "core/timer_service.h"
#include "devices/temperature.h"
#include "emulator/emulator.h"
#include "tests/support/unbound_records.h"

FakeState Fake;

namespace {

void Note(int32_t camera, const std::string& text)
{
    Fake.calls.push_back({text, EmuMicroseconds(), LoadFlag(StopCount[camera])});
}

std::string Number(double value)
{
    char text[64];
    snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string Hex(int32_t value)
{
    char text[16];
    snprintf(text, sizeof text, "0x%04X", static_cast<unsigned>(value));
    return text;
}

void FakeSetCoolerPower(int32_t power, int32_t camera)
{
    Note(camera, "SetCoolerPower " + std::to_string(power));
}

void FakeSetCooler(int32_t on, int32_t camera)
{
    Note(camera, "SetCooler " + std::to_string(on));
}

int32_t FakeReadTemperature(int32_t camera)
{
    Fake.readTimes.push_back(EmuMicroseconds());
    if (Fake.readingFails) return -1;
    double reading = LoadReading(CameraTable[camera].CurrentTemperature);
    if (Fake.nextTemperature != nullptr) {
        reading = Fake.nextTemperature(camera);
    } else if (!Fake.temperatures.empty()) {
        reading = Fake.temperatures.front();
        if (Fake.temperatures.size() > 1) Fake.temperatures.erase(Fake.temperatures.begin());
    }
    StoreReading(&CameraTable[camera].CurrentTemperature, reading);
    return 0;
}

void FakeSetShutter(double seconds, int32_t camera)
{
    Note(camera, "SetShutter " + Number(seconds));
}

void FakeWriteRegister(int32_t reg, int32_t value, int32_t camera)
{
    Note(camera, "WriteRegister " + std::to_string(reg) + " " + Hex(value));
}

uint16_t FakeReadRegister(int32_t reg, int32_t camera)
{
    Note(camera, "ReadRegister " + std::to_string(reg));
    return reg == 2 && Fake.busyReads-- > 0 ? 0x80 : 0x7F;
}

int32_t FakeIsTriggered(int32_t camera)
{
    Note(camera, "IsTriggered");
    return Fake.untriggeredPolls-- > 0 ? 0 : Fake.triggerValue;
}

void FakeSensorIdle()
{
    Note(0, "SensorIdle");
}

void FakeClearOnce(int32_t)
{
    ++Fake.clearOnceCount;
}

int32_t FakeSetGain(int32_t camera)
{
    Note(camera, "SetGain " + std::to_string(CameraTable[camera].GainIndex));
    return Fake.gainResult;
}

void FakeBuildWave(const char*, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin, int32_t vbin,
                   uint32_t, uint32_t, int32_t camera)
{
    Note(camera, "BuildWave " + std::to_string(x) + " " + std::to_string(y) + " " +
                     std::to_string(width) + " " + std::to_string(hbin) + " " +
                     std::to_string(vbin));
    StoreFlag(&CameraTable[camera].LastError, Fake.buildError);
}

int32_t FakeLoadSequencer(const char*, int32_t camera)
{
    Note(camera, "LoadSequencer");
    return 1;
}

void FakeExposureCallback(const char* text, int32_t camera)
{
    Fake.reports.push_back({text, camera, EmuMicroseconds()});
}

} // namespace

void OpenFake(int32_t platform, int32_t sensor, uint32_t options, int32_t camera)
{
    CameraRecord& record = CameraTable[camera];
    record.PlatformCode = platform;
    record.CcdCode = sensor;
    StoreFlag(&record.Options, options);
    record.CameraOn = 1;
    record.HorBinning = 1;
    record.VerBinning = 1;
    record.FanSpeed = 80;
    record.Config.ShutterHisteresys = 10;
    record.TemperatureDecimals = 1;
    ResetTemperature(camera);
    ClearTemperatureHistory(camera);

    CameraOps& ops = record.Ops;
    ops = UnboundOps;
    ops.SetCoolerPower = FakeSetCoolerPower;
    ops.SetCooler = FakeSetCooler;
    ops.ReadTemperature = FakeReadTemperature;
    ops.SetShutter = FakeSetShutter;
    ops.WriteRegister = FakeWriteRegister;
    ops.ReadRegister = FakeReadRegister;
    ops.IsTriggered = FakeIsTriggered;
    ops.SensorIdle = FakeSensorIdle;
    ops.ClearOnce = FakeClearOnce;
    ops.SetGain = FakeSetGain;
    ops.BuildWave = FakeBuildWave;
    ops.LoadSequencer = FakeLoadSequencer;
    ops.ExposureCallback = FakeExposureCallback;
}

std::vector<std::string> FakeTexts(const std::string& start)
{
    std::vector<std::string> texts;
    for (const FakeCall& call : Fake.calls) {
        if (call.text.rfind(start, 0) == 0) texts.push_back(call.text);
    }
    return texts;
}

void FakeTest::SetUp()
{
    UnbindRecords();
    Fake = FakeState{};
}

void FakeTest::TearDown()
{
    EmuReset();
}
