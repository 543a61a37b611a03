// qvn info: what opening a camera tells.
#include <cstdio>
#include <memory>

#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

struct CameraState {
    bool temperatureFailed = false; // it cannot be read
    double celsius = 0.0;
    double power = 0.0;
    int32_t cooler = 0;
    int32_t width = 0, height = 0;
    int32_t maxValue = 0;
    int32_t gain = 0;
    int32_t serial = -1; // none
};

const char* CoolerText(int32_t status)
{
    switch (status) {
    case QV_COOLER_OFF: return "off";
    case QV_COOLER_ON: return "on";
    case QV_COOLER_REGULATING: return "regulating";
    case QV_COOLER_AT_TARGET: return "at target";
    default: return "on by hand";
    }
}

// The layer asks for the serial number when it opens.
int32_t AskCamera(const Session& session, const std::shared_ptr<CameraState>& state)
{
    const int32_t camera = session.camera;
    QvnsState about = {};
    qvns_state(camera, &about);
    state->serial = about.Serial;
    return RunAtCamera(session, 1.0, [camera, state] {
        state->celsius = QV_ReadTemp(QV_CELSIUS, camera);
        state->temperatureFailed = QV_Status(camera) == QV_ERROR_LINK_FAILURE;
        state->power = QV_GetPower(camera);
        state->cooler = QV_CoolerStatus(camera);
        state->width = QV_GetDimX(camera);
        state->height = QV_GetDimY(camera);
        state->maxValue = QV_MaxNumbers(camera);
        state->gain = QV_GetGain(camera);
        return QV_ERROR_NONE;
    });
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

std::string SerialText(const CameraState& state, const char* none)
{
    return state.serial == -1 ? none : Text("%u", static_cast<uint32_t>(state.serial));
}

void PrintText(const Session& session, const CameraState& state)
{
    std::printf("Camera        %d\n", session.camera);
    std::printf("Platform      %d %s\n", session.platform, session.platformName.c_str());
    std::printf("Sensor        %d %s\n", session.sensor, session.sensorName.c_str());
    std::printf("Serial number %s\n", SerialText(state, "none").c_str());
    std::printf("Sensor size   %d x %d pixels, %g x %g mm\n", session.ccd.Xpix, session.ccd.Ypix,
                session.ccd.Xarea, session.ccd.Yarea);
    std::printf("Picture       %d x %d pixels\n", state.width, state.height);
    std::printf("Pixel size    %g x %g um\n", session.ccd.XpixDim, session.ccd.YpixDim);
    std::printf("Full well     %g electrons\n", session.ccd.FWC);
    std::printf("Converter     %d bits, MaxValue %d\n", ConverterBits(session), state.maxValue);
    std::printf("Gains         %s (index 0 to 3), index %d is set\n",
                GainList(session, ", ").c_str(), state.gain);
    if (!state.temperatureFailed) {
        std::printf("Temperature   %+.1f C\n", state.celsius);
    } else {
        std::printf("Temperature   cannot be read\n");
    }
    std::printf("Cooler        %s, %.1f %%\n", CoolerText(state.cooler), state.power);
    std::printf("Options       0x%04X\n", session.options);
    std::printf("Library       %s, definitions in %s\n", CreatorText().c_str(),
                session.folder.c_str());
}

void PrintJson(const Session& session, const CameraState& state)
{
    std::printf("{\"camera\": %d,\n", session.camera);
    std::printf(" \"serial\": %s,\n", SerialText(state, "null").c_str());
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
    std::printf(" \"temperature_celsius\": %s,\n",
                !state.temperatureFailed ? JsonNumber(state.celsius).c_str() : "null");
    std::printf(" \"cooler\": {\"status\": %d, \"text\": %s, \"power_percent\": %s},\n",
                state.cooler, JsonText(CoolerText(state.cooler)).c_str(),
                JsonNumber(state.power).c_str());
    std::printf(" \"options\": %u, \"library\": %s, \"folder\": %s}\n", session.options,
                JsonText(CreatorText()).c_str(), JsonText(session.folder).c_str());
}

} // namespace

int RunInfo(const InfoRequest& request)
{
    Session session;
    if (!OpenSession(request.camera, CallsBy::Layer, &session)) {
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    const SessionCloser closer = {session, true};
    const auto state = std::make_shared<CameraState>();
    const int32_t code = AskCamera(session, state);
    if (code != QV_ERROR_NONE) {
        Complain(Text("asking camera %d, %s", session.camera, CameraText(session).c_str()),
                 FailureText(session, code), LibraryAdvice(code));
        return BreakRequested() ? ExitBroken : ExitFailed;
    }
    if (request.json) {
        PrintJson(session, *state);
    } else {
        PrintText(session, *state);
    }
    if (state->temperatureFailed) {
        Complain(Text("reading the temperature of camera %d, %s", session.camera,
                      CameraText(session).c_str()),
                 LibraryText(QV_ERROR_LINK_FAILURE), LibraryAdvice(QV_ERROR_LINK_FAILURE));
    }
    if (BreakRequested()) return ExitBroken;
    return state->temperatureFailed ? ExitFailed : ExitDone;
}
