// qvn info: what opening a camera tells.
#include <cstdio>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

struct CameraState {
    int32_t temperatureStatus = 0; // not 0: it cannot be read
    double celsius = 0.0;
    double power = 0.0;
    int32_t cooler = 0;
    int32_t width = 0, height = 0;
    int32_t maxValue = 0;
    int32_t gain = 0;
    uint32_t options = 0;
};

CameraState AskCamera(const Session& session)
{
    CameraState state;
    state.temperatureStatus = ReadCelsius(session, &state.celsius);
    state.power = QV_GetPower(session.camera);
    state.cooler = QV_CoolerStatus(session.camera);
    state.width = QV_GetDimX(session.camera);
    state.height = QV_GetDimY(session.camera);
    state.maxValue = QV_MaxNumbers(session.camera);
    state.gain = QV_GetGain(session.camera);
    state.options = QV_GetMode(session.camera);
    return state;
}

int32_t ConverterBits(const Session& session)
{
    return session.electronics.ADbit & 0xFF;
}

std::string GainList(const Session& session, const char* separator)
{
    std::string text;
    for (const double gain : session.electronics.Gain) {
        text += (text.empty() ? "" : separator) + JsonNumber(gain);
    }
    return text;
}

void PrintText(const Session& session, const CameraState& state)
{
    std::printf("Camera        %d\n", session.camera);
    std::printf("Platform      %d %s\n", session.platform, session.platformName.c_str());
    std::printf("Sensor        %d %s\n", session.sensor, session.sensorName.c_str());
    std::printf("Sensor size   %d x %d pixels, %g x %g mm\n", session.ccd.Xpix, session.ccd.Ypix,
                session.ccd.Xarea, session.ccd.Yarea);
    std::printf("Picture       %d x %d pixels\n", state.width, state.height);
    std::printf("Pixel size    %g x %g um\n", session.ccd.XpixDim, session.ccd.YpixDim);
    std::printf("Full well     %g electrons\n", session.ccd.FWC);
    std::printf("Converter     %d bits, MaxValue %d\n", ConverterBits(session), state.maxValue);
    std::printf("Gains         %s (index 0 to 3), index %d is set\n",
                GainList(session, ", ").c_str(), state.gain);
    if (state.temperatureStatus == QV_ERROR_NONE) {
        std::printf("Temperature   %+.1f C\n", state.celsius);
    } else {
        std::printf("Temperature   cannot be read\n");
    }
    std::printf("Cooler        %s, %.1f %%\n", CoolerText(state.cooler), state.power);
    std::printf("Options       0x%04X\n", state.options);
    std::printf("Library       %s, definitions in %s\n", CreatorText().c_str(),
                session.folder.c_str());
}

void PrintJson(const Session& session, const CameraState& state)
{
    std::printf("{\"camera\": %d,\n", session.camera);
    std::printf(" \"platform\": {\"code\": %d, \"name\": %s},\n", session.platform,
                JsonText(session.platformName).c_str());
    std::printf(" \"sensor\": {\"code\": %d, \"name\": %s, \"columns\": %d, \"rows\": %d,\n",
                session.sensor, JsonText(session.sensorName).c_str(), session.ccd.Xpix,
                session.ccd.Ypix);
    std::printf("  \"pixel_um\": [%s, %s], \"area_mm\": [%s, %s], \"full_well\": %s},\n",
                JsonNumber(session.ccd.XpixDim).c_str(), JsonNumber(session.ccd.YpixDim).c_str(),
                JsonNumber(session.ccd.Xarea).c_str(), JsonNumber(session.ccd.Yarea).c_str(),
                JsonNumber(session.ccd.FWC).c_str());
    std::printf(" \"picture\": {\"width\": %d, \"height\": %d},\n", state.width, state.height);
    std::printf(" \"converter_bits\": %d, \"max_value\": %d,\n", ConverterBits(session),
                state.maxValue);
    std::printf(" \"gains\": [%s], \"gain_index\": %d,\n", GainList(session, ", ").c_str(),
                state.gain);
    std::printf(" \"temperature_celsius\": %s,\n", state.temperatureStatus == QV_ERROR_NONE
                                                       ? JsonNumber(state.celsius).c_str()
                                                       : "null");
    std::printf(" \"cooler\": {\"status\": %d, \"text\": %s, \"power_percent\": %s},\n",
                state.cooler, JsonText(CoolerText(state.cooler)).c_str(),
                JsonNumber(state.power).c_str());
    std::printf(" \"options\": %u, \"library\": %s, \"folder\": %s}\n", state.options,
                JsonText(CreatorText()).c_str(), JsonText(session.folder).c_str());
}

} // namespace

int RunInfo(const InfoRequest& request)
{
    Session session;
    if (!OpenSession(request.camera, 0, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, true};
    const CameraState state = AskCamera(session);
    if (request.json) {
        PrintJson(session, state);
    } else {
        PrintText(session, state);
    }
    if (state.temperatureStatus != QV_ERROR_NONE) {
        Complain(Text("reading the temperature of camera %d, %s", session.camera,
                      CameraText(session).c_str()),
                 LibraryText(state.temperatureStatus), LibraryAdvice(state.temperatureStatus));
    }
    if (BreakRequested()) return ExitBroken;
    return state.temperatureStatus == QV_ERROR_NONE ? ExitDone : ExitFailed;
}
