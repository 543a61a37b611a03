// qvn, the program: its arguments. What a command does is in its own source.
#include <CLI/CLI.hpp>

#include <malloc.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <exception>

#include "tools/arguments.h"
#include "tools/breaker.h"
#include "tools/commands.h"
#include "tools/device_arguments.h"
#include "tools/frame_arguments.h"
#include "tools/report.h"
#include "tools/text.h"
#include "tools/wave.h"
#include "tools/wave_make.h"

namespace {

struct Requests {
    VirtualRequest world; // given ahead of the command
    InitRequest init;
    ListRequest list;
    InfoRequest info;
    ExposeRequest expose;
    KineticsRequest kinetics;
    ArrayRequest array;
    WatchRequest temperature, monitor;
    WheelRequest wheel;
    RegistersRequest registers;
    WaveMakeRequests waveMakers;
    WaveViewRequests waveViews;
    ConfigCheckRequest configCheck;
    DoctorRequest doctor;
};

void AddInit(CLI::App* app, InitRequest* request)
{
    auto* command = app->add_subcommand(
        "init", "Writes sample files: qvn.cfg, camera.cfg and starfield.raw, a simulated sky");
    command->add_option("DIR", request->folder,
                        "Folder for the files, which is made; default qvn, the folder that the "
                        "other commands find by themselves");
    command->add_flag("--force", request->force, "Replaces files that are there");
}

void AddList(CLI::App* app, ListRequest* request)
{
    auto* command = app->add_subcommand("list", "Shows platforms and the sensors they carry");
    command->add_option("--platform", request->platform, "Only this one, code or name")
        ->type_name("CODE|NAME")
        ->check(NotEmpty());
    command->add_flag("--json", request->json, "As JSON");
    AddWorldOptions(command, &request->world);
}

void AddInfo(CLI::App* app, InfoRequest* request)
{
    auto* command = app->add_subcommand("info", "Opens a camera and shows what it reports");
    command->add_flag("--json", request->json, "As JSON");
    AddCameraOptions(command, &request->camera);
    AddFindOptions(command, &request->camera);
}

void AddWave(CLI::App* app, Requests* requests)
{
    auto* wave =
        app->add_subcommand("wave", "Builds clock patterns, plays them, and looks at them");
    wave->require_subcommand(1);
    AddWaveMakers(wave, &requests->waveMakers);
    AddWaveViews(wave, &requests->waveViews);
}

void AddConfig(CLI::App* app, ConfigCheckRequest* request)
{
    auto* config = app->add_subcommand("config", "Looks at configuration files");
    config->require_subcommand(1);
    auto* command = config->add_subcommand(
        "check", "Names missing, mistyped, implausible and unknown keys with their lines");
    command->add_option("FILE", request->file, "A qvn.cfg or a camera.cfg")
        ->required()
        ->check(NotEmpty());
}

void AddDoctor(CLI::App* app, DoctorRequest* request)
{
    auto* command = app->add_subcommand(
        "doctor", "Checks what a camera needs of files, devices and rights, and says what to do");
    command->add_flag("--json", request->json, "As JSON");
    const DefinitionOptions definitions = AddDefinitionOptions(
        command, "Platform, code or name; default 1, DEMO, the simulated camera", &request->camera);
    auto* config = command
                       ->add_option("--config", request->camera.configFile,
                                    "The camera that this camera.cfg says")
                       ->type_name("FILE")
                       ->check(NotEmpty())
                       ->group(definitions.platform->get_group());
    for (auto* other : {definitions.platform, definitions.sensor, definitions.link}) {
        config->excludes(other);
    }
    // Another folder for /sys, /dev, /proc, /etc and so on, for tests.
    command->add_option("--root", request->root)->group("");
}

int RunWave(const CLI::App& wave, const Requests& requests)
{
    if (wave.got_subcommand("build")) return RunWaveBuild(requests.waveMakers.build);
    if (wave.got_subcommand("play")) return RunWavePlay(requests.waveMakers.play);
    return RunWaveView(wave, requests.waveViews);
}

// What stands ahead of the command counts as if it stood behind it.
VirtualRequest Joined(const VirtualRequest& ahead, const VirtualRequest& behind)
{
    const bool twice = (!ahead.text.empty() && !behind.text.empty()) ||
                       (!ahead.trace.empty() && !behind.trace.empty());
    if (twice) throw CLI::ValidationError("--virtual, --trace", "given twice");
    VirtualRequest joined = ahead;
    if (joined.text.empty()) joined.text = behind.text;
    if (joined.trace.empty()) joined.trace = behind.trace;
    if (joined.text.empty() && !joined.trace.empty()) {
        throw CLI::ValidationError("--trace", "needs --virtual: real traffic is not written down");
    }
    return joined;
}

void JoinWorlds(const CLI::App& app, Requests* requests)
{
    const bool opensNone = app.got_subcommand("init") || app.got_subcommand("wave") ||
                           app.got_subcommand("config") || app.got_subcommand("doctor");
    const bool given = !requests->world.text.empty() || !requests->world.trace.empty();
    if (opensNone && given) {
        throw CLI::ValidationError("--virtual, --trace",
                                   "are for list and for commands with a camera");
    }
    for (VirtualRequest* world :
         {&requests->list.world, &requests->info.camera.world, &requests->expose.camera.world,
          &requests->kinetics.camera.world, &requests->array.camera.world,
          &requests->temperature.camera.world, &requests->monitor.camera.world,
          &requests->wheel.camera.world, &requests->registers.camera.world}) {
        *world = Joined(requests->world, *world);
    }
}

int Run(const CLI::App& app, const Requests& requests)
{
    if (app.got_subcommand("init")) return RunInit(requests.init);
    if (app.got_subcommand("list")) return RunList(requests.list);
    if (app.got_subcommand("info")) return RunInfo(requests.info);
    if (app.got_subcommand("expose")) return RunExpose(requests.expose);
    if (app.got_subcommand("kinetics")) return RunKinetics(requests.kinetics);
    if (app.got_subcommand("array")) return RunArray(requests.array);
    if (app.got_subcommand("temperature")) return RunTemperature(requests.temperature);
    if (app.got_subcommand("monitor")) return RunMonitor(requests.monitor);
    if (app.got_subcommand("wheel")) return RunWheel(requests.wheel);
    if (app.got_subcommand("registers")) return RunRegisters(requests.registers);
    if (app.got_subcommand("config")) return RunConfigCheck(requests.configCheck);
    if (app.got_subcommand("doctor")) return RunDoctor(requests.doctor);
    return RunWave(*app.get_subcommand("wave"), requests);
}

int ParseAndRun(int count, char** arguments)
{
    Requests requests;
    CLI::App app("Takes frames with cooled CCD cameras, real or simulated.", "qvn");
    app.set_version_flag("--version", CreatorText);
    app.require_subcommand(1);
    AddWorldOptions(&app, &requests.world);
    AddInit(&app, &requests.init);
    AddList(&app, &requests.list);
    AddInfo(&app, &requests.info);
    AddExpose(&app, &requests.expose);
    AddKinetics(&app, &requests.kinetics);
    AddArray(&app, &requests.array);
    AddTemperature(&app, &requests.temperature);
    AddMonitor(&app, &requests.monitor);
    AddWheel(&app, &requests.wheel);
    AddRegisters(&app, &requests.registers);
    AddWave(&app, &requests);
    AddConfig(&app, &requests.configCheck);
    AddDoctor(&app, &requests.doctor);
    try {
        app.parse(count, arguments);
        JoinWorlds(app, &requests);
        return Run(app, requests);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ExitDone : ExitUsage;
    } catch (const std::exception& error) {
        Complain("working", error.what(), "");
        BreakerStop();
        return ExitFailed;
    }
}

// Nothing is taken away from under a call of the library that does not come back.
int EndProgram(int exitCode)
{
    exitCode = FinishOutput(LeaveVirtualWorld(exitCode));
    if (CallIsLeftBehind()) _exit(exitCode);
    return exitCode;
}

} // namespace

int main(int count, char** arguments)
{
    // A reader of the output that goes away must not leave the camera open and cooled.
    std::signal(SIGPIPE, SIG_IGN);
    // The first arena grows in larger steps than those that other threads would be given; the
    // definitions are read in such a thread.
    mallopt(M_ARENA_MAX, 1);
    return EndProgram(ParseAndRun(count, arguments));
}
