// The arguments of the commands that look after a camera's devices.
#include "tools/device_arguments.h"

#include <limits>

#include "tools/arguments.h"
#include "tools/text.h"

namespace {

constexpr double LongestWatch = 1e7; // seconds
constexpr int32_t MostSteps = 1200;  // of a stepper wheel; more than a turn
constexpr int32_t HighestRegister = 255, HighestStatus = 15, HighestWord = 63;

CLI::Option* AddTarget(CLI::App* command, const char* help, WatchRequest* request)
{
    return command
        ->add_option_function<double>(
            "--target",
            [request](double celsius) {
                request->cools = true;
                request->target = celsius;
            },
            help)
        ->type_name("CELSIUS")
        ->check(Between(-200.0, 100.0));
}

CLI::Option* AddLength(CLI::App* command, const char* name, const char* help, WatchRequest* request)
{
    return command->add_option(name, request->seconds, help)
        ->type_name("S")
        ->check(Between(0.0, LongestWatch));
}

CLI::Option* AddKeepCooling(CLI::App* command, WatchRequest* request)
{
    return command->add_flag("--keep-cooling", request->keepCooling,
                             "Leaves the cooler on at the end, at its last drive");
}

// The course of the cooling, and the camera that is watched.
std::vector<CLI::Option*> AddWatched(CLI::App* command, WatchRequest* request)
{
    std::vector<CLI::Option*> course = AddCourse(command, "Cooling", &request->course);
    command->get_option("--warm-up")->excludes("--keep-cooling");
    AddCameraOptions(command, &request->camera);
    AddFindOptions(command, &request->camera);
    AddComeBack(command, &request->camera);
    return course;
}

void AddReadings(CLI::App* command, WatchRequest* request)
{
    command->add_option("--interval", request->interval, "Seconds between readings, default 1")
        ->type_name("S")
        ->check(Between(0.1, 1e6));
    command->add_option("--log", request->log, "A table of the readings")
        ->type_name("FILE.csv")
        ->check(NotEmpty());
    command->add_option("--plot", request->plot, "A picture")
        ->type_name("FILE.png|FILE.svg")
        ->check(NotEmpty());
    command->add_flag("--overwrite", request->overwrite, "Replaces files that are there");
}

// Settings of a wheel belong together: each that is not given is 0.
void AddWheelValue(CLI::App* command, const char* name, const char* help, int32_t low, int32_t high,
                   int32_t* value, WheelRequest* request)
{
    command
        ->add_option_function<int32_t>(
            name,
            [value, request](int32_t given) {
                request->handOver = true;
                *value = given;
            },
            help)
        ->type_name("N")
        ->check(Between(low, high))
        ->group("Settings");
}

void AddList(CLI::App* command, const char* name, const char* help, int32_t highest,
             std::vector<int32_t>* numbers)
{
    command
        ->add_option_function<std::string>(
            name,
            [name, highest, numbers](const std::string& text) {
                if (ParseNumbers(text, highest, numbers)) return;
                Refuse(name, text, Text("a list such as 0,3,8-10, up to %d", highest).c_str());
            },
            help)
        ->type_name("LIST")
        ->group("Reading");
}

NumberAndValue ReadPair(const char* name, const std::string& text, int32_t highest)
{
    const size_t equals = text.find('=');
    uint32_t number = 0;
    std::vector<int32_t> value;
    const bool read = equals != std::string::npos && ParseBits(text.substr(0, equals), &number) &&
                      ParseIntegers(text.substr(equals + 1), 1, &value) &&
                      number <= static_cast<uint32_t>(highest) && value[0] >= INT16_MIN &&
                      value[0] <= UINT16_MAX;
    if (!read) {
        Refuse(name, text,
               Text("NUMBER=VALUE, up to %d and of 16 bits, such as 12=0x40", highest).c_str());
    }
    return {static_cast<int32_t>(number), value[0]};
}

void AddWrites(CLI::App* command, const char* name, const char* help, int32_t highest,
               std::vector<NumberAndValue>* writes)
{
    command
        ->add_option_function<std::vector<std::string>>(
            name,
            [name, highest, writes](const std::vector<std::string>& texts) {
                for (const std::string& text : texts) {
                    writes->push_back(ReadPair(name, text, highest));
                }
            },
            help)
        ->type_name("NUMBER=VALUE")
        ->type_size(1)
        ->allow_extra_args(false)
        ->group("Writing");
}

void AddSerial(CLI::App* command, RegistersRequest* request)
{
    auto* serial = command
                       ->add_option_function<std::string>(
                           "--serial",
                           [request](const std::string& text) {
                               uint32_t number = 0;
                               if (!ParseBits(text, &number)) {
                                   Refuse("--serial", text, "a number of 32 bits");
                               }
                               request->writesSerial = true;
                               request->serial = static_cast<int32_t>(number);
                           },
                           "A new serial number")
                       ->type_name("N")
                       ->group("Writing");
    command
        ->add_option_function<std::string>(
            "--serial-format",
            [request](const std::string& text) {
                request->serialIsDecimal = SameWord(text, "decimal");
                if (!request->serialIsDecimal && !SameWord(text, "binary")) {
                    Refuse("--serial-format", text, "binary or decimal");
                }
            },
            "How it is stored: binary, the default, or decimal")
        ->type_name("NAME")
        ->needs(serial)
        ->group("Writing");
}

} // namespace

void AddTemperature(CLI::App* app, WatchRequest* request)
{
    auto* command = app->add_subcommand("temperature", "Cools, and logs and plots the course");
    AddTarget(command, "Celsius", request)->required();
    AddLength(command, "--seconds", "How long to watch", request)->required();
    AddReadings(command, request);
    AddKeepCooling(command, request);
    AddWatched(command, request);
}

void AddMonitor(CLI::App* app, WatchRequest* request)
{
    auto* command = app->add_subcommand("monitor", "Shows temperature and cooler, live");
    request->seconds = std::numeric_limits<double>::infinity();
    auto* target = AddTarget(command, "Cools to this, Celsius; without it nothing is set", request);
    AddLength(command, "--duration", "How long to watch; default until Ctrl-C", request);
    AddReadings(command, request);
    AddKeepCooling(command, request)->needs(target);
    for (auto* option : AddWatched(command, request)) option->needs(target);
}

void AddWheel(CLI::App* app, WheelRequest* request)
{
    auto* command =
        app->add_subcommand("wheel", "Shows, calibrates and turns the filter wheel at the camera");
    command
        ->add_option("--position", request->position,
                     "Turns to this position, from 1; a stepper finds its zero position first")
        ->type_name("N")
        ->check(Between(1, 32767));
    command->add_flag("--calibrate", request->calibrate, "Finds the zero position");
    command->add_flag("--stands-at-1", request->standsAtOne,
                      "A stepper is at position 1 already and finds no zero position ahead of "
                      "--position");
    AddWheelValue(command, "--setting", "First value of the wheel; see docs/program.md", 0, 31,
                  &request->setting, request);
    AddWheelValue(command, "--hold", "Second one; a stepper with 0 is without current at rest", 0,
                  31, &request->hold, request);
    AddWheelValue(command, "--zero-offset", "Third one; of a stepper in steps", -MostSteps,
                  MostSteps, &request->zeroOffset, request);
    command
        ->add_option("--kind", request->camera.filterWheel,
                     "What is fitted: 0 none, 1 stepper with 8 positions, 2 stepper with 6, 3 "
                     "controller with commands of 4 bits, 4 of a byte; default: as camera.cfg or "
                     "the virtual camera says")
        ->type_name("N")
        ->check(Between(0, 4));
    AddCameraOptions(command, &request->camera);
    AddFindOptions(command, &request->camera);
}

void AddRegisters(CLI::App* app, RegistersRequest* request)
{
    auto* command = app->add_subcommand(
        "registers", "For service: reads and writes registers, memory and the serial number");
    AddList(command, "--read", "Registers, read from the camera", HighestRegister, &request->reads);
    AddList(command, "--status", "Status words", HighestStatus, &request->statusReads);
    AddList(command, "--memory", "Words of the camera's memory", HighestWord,
            &request->memoryReads);
    AddWrites(command, "--write", "A register; may be given again", HighestRegister,
              &request->registerWrites);
    AddWrites(command, "--write-memory", "A word of the camera's memory; may be given again",
              HighestWord, &request->memoryWrites);
    AddSerial(command, request);
    command
        ->add_flag("--allow-writing", request->mayWrite,
                   "Without it nothing is written: wrong values can harm a camera")
        ->group("Writing");
    AddCameraOptions(command, &request->camera);
}
