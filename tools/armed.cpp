#include "tools/armed.h"

#include "tools/breaker.h"
#include "tools/report.h"
#include "tools/text.h"
#include "tools/wave_reading.h"

namespace {

constexpr int32_t AtOnce = 1, ByInput = 0;

// What is picked up of a camera that has gone is zeros, and no error tells. The low byte of this
// status word is the same at all times, and all ones where nobody answers.
constexpr int32_t VersionStatus = 15;
constexpr uint32_t NobodyThere = 0xFF;

uint32_t AskVersion(int32_t camera)
{
    return QV_GetStatus(VersionStatus, camera) & NobodyThere;
}

// Whether the call that starts returns at once, and the camera's own timer ends the exposure.
struct ArmedPlatform {
    int32_t code;
    bool timesItself;
};
constexpr ArmedPlatform Platforms[] = {
    {24, false}, {30, false}, {42, false}, {44, false}, {47, true}};

const ArmedPlatform* PlatformOf(const Session& session)
{
    for (const ArmedPlatform& platform : Platforms) {
        if (platform.code == session.platform) return &platform;
    }
    return nullptr;
}

bool Refuse(const Session& session, const std::string& reason, const std::string& advice)
{
    Complain(Text("arming camera %d, %s", session.camera, CameraText(session).c_str()), reason,
             advice);
    return false;
}

// By the pattern that the camera has been given, in the folder of the definitions.
double LineSeconds(const Session& session)
{
    constexpr uint32_t LongestPixel = 64; // words, where the pattern cannot be looked at
    WavePattern pattern;
    std::string error;
    std::string advice;
    const std::string path = session.folder + "/wave.bin";
    const uint32_t words = ReadPattern(path, &pattern, &error, &advice)
                               ? PartLength(pattern, WaveLine)
                               : LongestPixel * static_cast<uint32_t>(session.ccd.Xpix);
    return words * session.electronics.SamplingClock[0] / 1e6;
}

// Nothing tells that the frame has arrived: twice the time that the pattern takes.
double PickupSeconds(const Session& session)
{
    constexpr double Slack = 0.5;
    const int32_t lines = session.ccd.Xpix + session.ccd.Dummy[0];
    return Slack + 2.0 * lines * LineSeconds(session);
}

bool CanBeArmed(const Session& session, const PictureRequest& picture)
{
    const ArmedPlatform* const platform = PlatformOf(session);
    if (platform == nullptr) {
        return Refuse(session, "this camera takes no frames in steps",
                      "without --armed, or platform 24, 30, 42, 44 or 47");
    }
    if ((session.options & QV_OPTION_CARD_DMA) == 0) {
        return Refuse(session, "its interface card holds a line, not a frame",
                      "without --armed, or a card that takes whole frames");
    }
    if (picture.window.set || picture.horBinning != 1 || picture.verBinning != 1) {
        return Refuse(session, "what is picked up is the whole sensor, unbinned",
                      "without --window and --binning");
    }
    // The start asks for as many lines as a line has pixels.
    if (!platform->timesItself && session.ccd.Ypix > session.ccd.Xpix) {
        return Refuse(session,
                      Text("%d lines are sent, and the sensor has %d rows", session.ccd.Xpix,
                           session.ccd.Ypix),
                      "without --armed");
    }
    return true;
}

} // namespace

bool PrepareArmed(const Session& session, const PictureRequest& picture, FrameGeometry* geometry)
{
    if (!CanBeArmed(session, picture)) return false;
    // The lines and pixels to transfer are those of the last pattern.
    const int32_t code = qvns_set_binning(session.camera, 1, 1, 0.0);
    if (code != QV_ERROR_NONE)
        return Refuse(session, FailureText(session, code), LibraryAdvice(code));
    geometry->width = session.ccd.Xpix;
    geometry->height = session.ccd.Ypix;
    geometry->room = static_cast<size_t>(session.ccd.Xpix) * static_cast<size_t>(session.ccd.Ypix);
    return true;
}

int32_t TakeArmed(const Session& session, const ArmedRequest& request, double seconds,
                  const std::shared_ptr<FrameRecord>& frame)
{
    double wait = request.pickup >= 0.0 ? request.pickup : PickupSeconds(session);
    if (PlatformOf(session)->timesItself) wait += seconds;
    constexpr double AnyTime = 1e9;
    const double expected = request.external ? AnyTime : 1.0 + seconds + wait;
    const int32_t start = request.external ? ByInput : AtOnce;
    BreakerArm(session.camera);
    const int32_t code =
        RunAtCamera(session, expected, [frame, seconds, start, wait, camera = session.camera] {
            const uint32_t version = AskVersion(camera);
            QV_ArmAcquisition(seconds, camera);
            QV_StartAcquisition(start, camera);
            frame->missing = WaitOrBreak(wait);
            if (frame->missing) {
                QV_FlushAcquisition(camera);
            } else {
                QV_GetImage(frame->pixels.data(), camera);
            }
            const int32_t status = QV_Status(camera);
            const uint32_t now = frame->missing ? version : AskVersion(camera);
            const bool gone = now != version || now == NobodyThere;
            return gone && status == QV_ERROR_NONE ? QV_ERROR_LINK_FAILURE : status;
        });
    BreakerArm(-1);
    return code;
}
