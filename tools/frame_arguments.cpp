// The arguments of the commands that take frames.
#include "tools/frame_arguments.h"

#include "tools/arguments.h"
#include "tools/text.h"

namespace {

constexpr char Exposure[] = "Exposure";
constexpr char Output[] = "Output";
constexpr int32_t HighestHead = 7;
constexpr int32_t MostRows = 32767;

void AddLight(CLI::App* command, bool* light)
{
    auto* flag =
        command->add_flag("--light")->description("A light frame, the default")->group(Exposure);
    command
        ->add_flag_callback(
            "--dark", [light] { *light = false; }, "A dark frame, the shutter closed")
        ->excludes(flag)
        ->group(Exposure);
}

CLI::Option* AddCount(CLI::App* command, const char* name, const char* help, int32_t highest,
                      int32_t* count)
{
    return command->add_option(name, *count, help)
        ->type_name("N")
        ->check(Between(1, highest))
        ->group(Exposure);
}

CLI::Option* AddSeconds(CLI::App* command, const char* name, const char* help, double* seconds)
{
    return command->add_option(name, *seconds, help)
        ->type_name("S")
        ->check(Between(0.0, LongestExposure))
        ->group(Exposure);
}

void AddCooling(CLI::App* command, CoolingRequest* request)
{
    const char* group = "Cooling";
    auto* cool = command
                     ->add_option_function<double>(
                         "--cool",
                         [request](double celsius) {
                             request->wanted = true;
                             request->target = celsius;
                         },
                         "Cools to this temperature in Celsius and waits until it is steady")
                     ->type_name("CELSIUS")
                     ->check(Between(-200.0, 100.0))
                     ->group(group);
    for (auto* option : AddCourse(command, group, &request->course)) option->needs(cool);
    command->add_option("--wait-limit", request->waitLimit, "Seconds, default 1800")
        ->type_name("S")
        ->check(Between(0.0, 1e6))
        ->needs(cool)
        ->group(group);
    command
        ->add_flag("--keep-cooling", request->keep,
                   "Leaves the cooler on at the end, at its last drive; nobody regulates it then")
        ->needs(cool)
        ->excludes("--warm-up")
        ->group(group);
}

void AddTrigger(CLI::App* command, ExposeRequest* request)
{
    auto* trigger =
        command->add_flag("--trigger", request->trigger, "The camera's input starts each exposure")
            ->group(Exposure);
    command
        ->add_option("--trigger-limit", request->triggerLimit,
                     "How long to wait for it, each time; default: any time")
        ->type_name("S")
        ->check(Between(0.001, 1e6))
        ->needs(trigger)
        ->group(Exposure);
}

void AddFiles(CLI::App* command, const char* help, FrameFiles* files)
{
    command->add_option("--output", files->output, help)
        ->type_name("FILE")
        ->check(NotEmpty())
        ->group(Output);
    command
        ->add_option_function<std::string>(
            "--format",
            [files](const std::string& text) {
                files->format = FormatByName(text);
                if (files->format == ImageFormat::Unknown) {
                    Refuse("--format", text, "fits, png, tiff or raw");
                }
            },
            "fits, png (16 bits), tiff or raw; default: by the ending of --output")
        ->type_name("NAME")
        ->group(Output);
    command->add_option("--preview", files->preview, "An 8-bit PNG beside, stretched for looking")
        ->type_name("FILE")
        ->check(NotEmpty())
        ->group(Output);
    command->add_flag("--overwrite", files->overwrite, "Replaces files that are there")
        ->group(Output);
}

void AddHeads(CLI::App* command, ArrayRequest* request)
{
    command
        ->add_option_function<std::string>(
            "--heads",
            [request](const std::string& text) {
                if (!ParseNumbers(text, HighestHead, &request->camera.heads)) {
                    Refuse("--heads", text, "a list of heads from 0 to 7, such as 0,1 or 0-3");
                }
            },
            "The heads that are fitted; default: those of the virtual camera")
        ->type_name("LIST")
        ->group(Exposure);
    command
        ->add_option("--seconds", request->seconds,
                     "Exposure, default 1; one for all heads, or one for each")
        ->type_name("S")
        ->check(Between(0.0, LongestExposure))
        ->delimiter(',')
        ->allow_extra_args(false)
        ->group(Exposure);
}

void AddArmed(CLI::App* command, ArmedRequest* request)
{
    const char* group = "Armed acquisition";
    auto* armed = command->add_flag("--armed", request->wanted,
                                    "Fetches the whole frame in steps, through the memory of the "
                                    "interface card: platforms 24, 30, 42, 44, 47");
    armed->excludes("--dark")->excludes("--trigger")->group(group);
    command
        ->add_flag("--external-start", request->external,
                   "The camera's input starts the exposure; it is waited for without limit")
        ->needs(armed)
        ->group(group);
    command
        ->add_option("--pickup", request->pickup,
                     "Time from the end of the exposure to the pick-up; default: long enough for "
                     "the clock pattern")
        ->type_name("S")
        ->check(Between(0.0, LongestExposure))
        ->needs(armed)
        ->group(group);
}

} // namespace

void AddExpose(CLI::App* app, ExposeRequest* request)
{
    auto* command = app->add_subcommand("expose", "Takes frames and writes them to files");
    AddLight(command, &request->light);
    AddSeconds(command, "--seconds", "Exposure, default 1", &request->seconds);
    AddCount(command, "--frames", "Number of frames", 99999, &request->frames);
    AddTrigger(command, request);
    AddArmed(command, &request->armed);
    AddPictureOptions(
        command,
        "Part of the picture, all four in binned pixels. Odd widths lose a pixel. The "
        "simulated camera takes X and Y as unbinned",
        {Exposure, &request->picture.window, &request->picture.horBinning,
         &request->picture.verBinning});
    AddGainOption(command, Exposure, &request->picture.gain);
    AddCooling(command, &request->cooling);
    AddFiles(command,
             "File, default frame.fits. For several frames %04d is the place of the "
             "number, else _0001 and so on is added",
             &request->files);
    command
        ->add_flag("--keep-broken", request->keepBroken,
                   "Also writes a frame that Ctrl-C has cut short")
        ->group(Output);
    AddCameraOptions(command, &request->camera);
    AddFindOptions(command, &request->camera);
    AddComeBack(command, &request->camera);
}

void AddKinetics(CLI::App* app, KineticsRequest* request)
{
    auto* command = app->add_subcommand(
        "kinetics", "Takes fast series: windows to a FITS cube, or shifted in one frame");
    request->files.output = "series.fits";
    AddLight(command, &request->light);
    auto* seconds =
        AddSeconds(command, "--seconds", "Exposure of each window, default 0.1", &request->seconds);
    auto* frames =
        AddCount(command, "--frames", "Number of windows, default 10", 99999, &request->frames);
    AddPictureOptions(command,
                      "Part of the picture, all four in binned pixels; on most cameras Y is 0. "
                      "Default: all of it",
                      {Exposure, &request->picture.window, &request->picture.horBinning,
                       &request->picture.verBinning});
    auto* lines = AddCount(command, "--lines", "Rows of a shift", MostRows, &request->lines);
    auto* interval =
        AddSeconds(command, "--interval", "Time ahead of each shift", &request->interval);
    auto* shifts = AddCount(command, "--shifts",
                            "Takes one frame, in which the charge is shifted so often while the "
                            "shutter is open",
                            MostRows, &request->shifts);
    shifts->needs(lines)->needs(interval)->excludes(frames)->excludes(seconds)->excludes(
        command->get_option("--window"));
    lines->needs(shifts);
    interval->needs(shifts);
    AddGainOption(command, Exposure, &request->picture.gain);
    AddCooling(command, &request->cooling);
    AddFiles(command, "File, default series.fits", &request->files);
    AddCameraOptions(command, &request->camera);
    AddFindOptions(command, &request->camera);
}

void AddArray(CLI::App* app, ArrayRequest* request)
{
    auto* command =
        app->add_subcommand("array", "Exposes several heads behind one card, a file for each");
    request->files.output = "head%d.fits";
    request->camera.isArray = true;
    AddLight(command, &request->light);
    AddHeads(command, request);
    AddFiles(command, "File, default head%d.fits; %d is the place of the head's number",
             &request->files);
    command
        ->add_flag("--one-file", request->oneFile,
                   "All heads as extensions of one FITS file, --output")
        ->group(Output);
    AddCameraOptions(command, &request->camera);
    // An array is behind a card, and its heads are set up anew.
    for (const char* name : {"--config", "--interface", "--attach"}) {
        command->remove_option(command->get_option(name));
    }
}
