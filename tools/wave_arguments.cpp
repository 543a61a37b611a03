// The arguments of the commands that look at a pattern file.
#include <CLI/CLI.hpp>

#include "tools/arguments.h"
#include "tools/wave.h"

namespace {

void AddFile(CLI::App* command, std::string* file, const char* name = "FILE")
{
    command->add_option(name, *file, "A pattern, such as wave.bin")->required()->check(NotEmpty());
}

void AddOutput(CLI::App* command, std::string* output, bool* overwrite, const char* typeName)
{
    command->add_option("-o,--output", *output, "File to write")
        ->required()
        ->type_name(typeName)
        ->check(NotEmpty());
    command->add_flag("--overwrite", *overwrite, "Replaces a file that is there");
}

CLI::Option* AddSection(CLI::App* command, std::string* section, const char* help)
{
    std::vector<std::string> names;
    for (const WavePartName& part : WavePartNames) names.emplace_back(part.name);
    return command->add_option("--section", *section, help)
        ->type_name("NAME")
        ->check(CLI::IsMember(names));
}

void AddWaveCamera(CLI::App* command, WaveCameraRequest* request)
{
    const DefinitionOptions options = AddDefinitionOptions(
        command,
        "The platform that the pattern is for, code or name: it tells what the lines do and, with "
        "qvn.cfg, the time of a tick",
        &request->camera);
    options.sensor->needs(options.platform);
    options.link->needs(options.platform);
    command->add_option("--tick", request->tickNs, "Time of a tick, nanoseconds")
        ->type_name("NS")
        ->check(Between(0.001, LongestTick))
        ->group(options.platform->get_group());
}

void AddShow(CLI::App* wave, WaveShowRequest* request)
{
    auto* command = wave->add_subcommand(
        "show", "Shows the sections of a pattern, and their words as the camera plays them");
    AddFile(command, &request->file);
    AddSection(command, &request->section, "Words of this section only");
    AddWaveCamera(command, &request->camera);
}

void AddPlot(CLI::App* wave, WavePlotRequest* request)
{
    auto* command = wave->add_subcommand("plot", "Draws the clock lines of a section over time");
    AddFile(command, &request->file);
    AddOutput(command, &request->output, &request->overwrite, "FILE.svg|FILE.png");
    AddSection(command, &request->section, "Which one, default line");
    command->add_option("--from", request->from, "First tick, default 0")
        ->type_name("TICK")
        ->check(Between(0, WaveLargestWords));
    command->add_option("--to", request->to, "The tick to end at, default the section's end")
        ->type_name("TICK")
        ->check(Between(0, WaveLargestWords));
    AddWaveCamera(command, &request->camera);
}

void AddVcd(CLI::App* wave, WaveVcdRequest* request)
{
    auto* command = wave->add_subcommand(
        "vcd", "Writes a pattern as a value change dump, for waveform viewers and analysers");
    AddFile(command, &request->file);
    AddOutput(command, &request->output, &request->overwrite, "FILE.vcd");
    AddWaveCamera(command, &request->camera);
}

void AddDiff(CLI::App* wave, WaveDiffRequest* request)
{
    auto* command =
        wave->add_subcommand("diff", "Shows where two patterns differ; the exit code is then 1");
    AddFile(command, &request->first, "FIRST");
    AddFile(command, &request->second, "SECOND");
}

void AddLint(CLI::App* wave, WaveLintRequest* request)
{
    auto* command = wave->add_subcommand(
        "lint", "Checks a pattern against the camera and the picture that it is for");
    AddFile(command, &request->file);
    AddPictureOptions(command, "The window that the pattern was built for, in binned pixels",
                      {"Picture", &request->window, &request->horBinning, &request->verBinning});
    AddWaveCamera(command, &request->camera);
}

} // namespace

void AddWaveViews(CLI::App* wave, WaveViewRequests* requests)
{
    AddShow(wave, &requests->show);
    AddPlot(wave, &requests->plot);
    AddVcd(wave, &requests->vcd);
    AddDiff(wave, &requests->diff);
    AddLint(wave, &requests->lint);
}

int RunWaveView(const CLI::App& wave, const WaveViewRequests& requests)
{
    if (wave.got_subcommand("show")) return RunWaveShow(requests.show);
    if (wave.got_subcommand("plot")) return RunWavePlot(requests.plot);
    if (wave.got_subcommand("vcd")) return RunWaveVcd(requests.vcd);
    if (wave.got_subcommand("diff")) return RunWaveDiff(requests.diff);
    return RunWaveLint(requests.lint);
}
