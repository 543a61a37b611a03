// The arguments of the commands that make patterns and pictures of them.
#include <CLI/CLI.hpp>

#include "tools/arguments.h"
#include "tools/wave_make.h"

namespace {

void AddTarget(CLI::App* command, WaveTarget* target)
{
    AddPictureOptions(command, "Part of the picture, all four in binned pixels; default all of it",
                      {"Picture", &target->window, &target->horBinning, &target->verBinning});
    const DefinitionOptions options = AddDefinitionOptions(
        command, "The platform that the pattern is for, code or name", &target->camera);
    auto* config = command
                       ->add_option("--config", target->camera.configFile,
                                    "Takes platform, sensor, link and the setup of the output from "
                                    "this camera.cfg; a name without a slash is sought beside "
                                    "qvn.cfg")
                       ->type_name("FILE")
                       ->check(NotEmpty())
                       ->group(options.platform->get_group());
    for (auto* other : {options.platform, options.sensor, options.link}) config->excludes(other);
}

void AddOutput(CLI::App* command, const char* help, std::string* output, bool* overwrite)
{
    command->add_option("-o,--output", *output, help)->type_name("FILE")->check(NotEmpty());
    command->add_flag("--overwrite", *overwrite, "Replaces a file that is there");
}

void AddBuild(CLI::App* wave, WaveBuildRequest* request)
{
    auto* command = wave->add_subcommand(
        "build", "Builds a pattern from qvn.cfg as the library does, without a camera");
    AddOutput(command, "The pattern, default wave.bin", &request->output, &request->overwrite);
    AddTarget(command, &request->target);
}

void AddPlay(CLI::App* wave, WavePlayRequest* request)
{
    auto* command = wave->add_subcommand(
        "play", "Plays a pattern against a model of the sensor and writes the picture");
    command->add_option("FILE", request->file, "A pattern, such as wave.bin")
        ->required()
        ->check(NotEmpty());
    command
        ->add_option("--scene", request->scene,
                     "What the sensor sees, a PNG or FITS picture, which is stretched over it; "
                     "default a star field")
        ->type_name("FILE")
        ->check(NotEmpty());
    AddOutput(command, "The picture, a PNG of 16 bits, default frame.png", &request->output,
              &request->overwrite);
    AddTarget(command, &request->target);
}

} // namespace

void AddWaveMakers(CLI::App* wave, WaveMakeRequests* requests)
{
    AddBuild(wave, &requests->build);
    AddPlay(wave, &requests->play);
}
