// qvn wave build, qvn wave play: a pattern without a camera, and the picture that a model
// of the sensor makes of one.
#include "tools/wave_make.h"

#include <algorithm>

#include "emulator/star_field.h"
#include "tools/image_files.h"
#include "tools/report.h"
#include "tools/safe_file.h"
#include "tools/scene_file.h"
#include "tools/text.h"
#include "tools/wave_target.h"

namespace {

constexpr uint32_t StarSeed = 13; // as the sample files'

bool OutputIsFree(const std::string& path, bool overwrite)
{
    std::string error, advice;
    if (OutputIsPossible(path, overwrite, &error, &advice)) return true;
    Complain("--output", error, advice);
    return false;
}

// Builds beside the output and puts the file in its place.
bool BuildFile(const WaveBuildRequest& request, const Session& session,
               const QvbWaveRequest& wanted, QvbWave* wave)
{
    const std::string doing =
        Text("building a pattern of %s, binning %d x %d", CameraText(session).c_str(),
             wanted.HorBinning, wanted.VerBinning);
    std::string error;
    const std::string part = BeginFile(request.output, request.overwrite, &error);
    if (part.empty()) {
        Complain(doing, error, "another --output");
        return false;
    }
    const int32_t code = QVB_BuildWave(&wanted, part.c_str(), wave);
    if (code != QV_ERROR_NONE) {
        DiscardFile(request.output);
        ComplainAboutWave(doing, code, session, wanted);
        return false;
    }
    if (CommitFile(request.output, request.overwrite, &error)) return true;
    Complain(doing, error, "another --output");
    return false;
}

std::string SecondsText(double seconds)
{
    return seconds < 1.0 ? Text("%.4g ms", seconds * 1e3) : Text("%.4g s", seconds);
}

void AnnounceWave(const std::string& path, const Session& session, const QvbWaveRequest& request,
                  const QvbWave& wave)
{
    const auto sections =
        std::count_if(wave.Sections, wave.Sections + QVB_SECTIONS,
                      [](const QvbSection& section) { return section.Length > 0; });
    const double line =
        1e-6 * wave.TickMicroseconds * wave.Sections[QVB_SECTION_LINE].Length; // seconds
    Announce(Text("Wrote %s: %s, %u x %u pixels, binning %d x %d", path.c_str(),
                  CameraText(session).c_str(), wave.Width, wave.Height, request.HorBinning,
                  request.VerBinning));
    Announce(Text("%s: %u words of %u bits in %d sections; at most %u", wave.Builder,
                  wave.WordCount, wave.WordBits, static_cast<int>(sections), wave.WordLimit));
    Announce(Text("A line takes %s, the picture %s", SecondsText(line).c_str(),
                  SecondsText(line * wave.Height).c_str()));
}

bool LoadScene(const WavePlayRequest& request, const Session& session, Scene* scene)
{
    std::string error;
    if (!request.scene.empty()) {
        if (ReadScene(request.scene, scene, &error)) return true;
        Complain(Text("reading --scene %s", request.scene.c_str()), error,
                 "a PNG or a FITS picture, or none for a star field");
        return false;
    }
    CcdDefinition ccd{};
    QV_OpenPar(session.platform, session.sensor, session.camera);
    QV_GetCCDdata(&ccd, session.camera);
    // A sensor without a size is told of when the pattern is played.
    scene->width = static_cast<uint32_t>(std::max<int>(ccd.Xpix, 1));
    scene->height = static_cast<uint32_t>(std::max<int>(ccd.Ypix, 1));
    scene->pixels.resize(size_t{scene->width} * scene->height);
    MakeStarField(scene->pixels.data(), scene->width, scene->height, StarSeed);
    return true;
}

bool PlayFile(const WavePlayRequest& request, const Session& session, const Scene& scene,
              const QvbWaveRequest& wanted, FrameRecord* picture)
{
    const std::string doing =
        Text("playing %s for %s", request.file.c_str(), CameraText(session).c_str());
    const QvbScene light{scene.pixels.data(), scene.width, scene.height};
    QvbFrame frame{};
    int32_t code = QVB_PlayWave(request.file.c_str(), &wanted, &light, &frame);
    if (code == QV_ERROR_NONE && frame.Width == 0) {
        Complain(doing, "its lines convert no pixels", "`qvn wave lint FILE` tells more");
        return false;
    }
    if (code == QV_ERROR_NONE) {
        picture->pixels.resize(size_t{frame.Width} * frame.Height);
        frame.Pixels = picture->pixels.data();
        frame.Room = picture->pixels.size();
        code = QVB_PlayWave(request.file.c_str(), &wanted, &light, &frame);
    }
    if (code != QV_ERROR_NONE) {
        ComplainAboutWave(doing, code, session, wanted);
        return false;
    }
    picture->width = static_cast<int32_t>(frame.Width);
    picture->height = static_cast<int32_t>(frame.Height);
    return true;
}

bool SavePicture(const WavePlayRequest& request, const Session& session, const FrameRecord& picture)
{
    const PngPicture png{picture.width,
                         picture.height,
                         1,
                         16,
                         picture.pixels.data(),
                         Text("%s played for %s, binning %d x %d", request.file.c_str(),
                              CameraText(session).c_str(), request.target.horBinning,
                              request.target.verBinning)};
    std::string error;
    const std::string part = BeginFile(request.output, request.overwrite, &error);
    bool written = !part.empty() && WritePng(png, part, &error);
    if (!part.empty() && !written) DiscardFile(request.output);
    if (written) written = CommitFile(request.output, request.overwrite, &error);
    if (!written) Complain(Text("writing %s", request.output.c_str()), error, "another --output");
    return written;
}

} // namespace

int RunWaveBuild(const WaveBuildRequest& request)
{
    Session session;
    QvbWaveRequest wanted{};
    QvbWave wave{};
    if (!FindWaveTarget(request.target, &session, &wanted)) return ExitFailed;
    if (!OutputIsFree(request.output, request.overwrite)) return ExitFailed;
    if (!BuildFile(request, session, wanted, &wave)) return ExitFailed;
    AnnounceWave(request.output, session, wanted, wave);
    return ExitDone;
}

int RunWavePlay(const WavePlayRequest& request)
{
    Session session;
    QvbWaveRequest wanted{};
    Scene scene;
    FrameRecord picture;
    if (!FindWaveTarget(request.target, &session, &wanted)) return ExitFailed;
    if (!OutputIsFree(request.output, request.overwrite)) return ExitFailed;
    if (!LoadScene(request, session, &scene)) return ExitFailed;
    if (!PlayFile(request, session, scene, wanted, &picture)) return ExitFailed;
    if (!SavePicture(request, session, picture)) return ExitFailed;
    Announce(Text("Wrote %s: %d x %d pixels of %s", request.output.c_str(), picture.width,
                  picture.height, CameraText(session).c_str()));
    const int32_t asked = request.target.window.width & ~1;
    if (request.target.window.set && picture.width != asked) {
        Announce(Text("Each line converts %d pixels, %d were asked for", picture.width, asked));
    }
    return ExitDone;
}
