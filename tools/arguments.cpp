// The arguments that several commands share.
#include "tools/arguments.h"

#include "tools/text.h"

namespace {

constexpr char CameraGroup[] = "Camera";

void ReadInterface(CameraRequest* request, const std::string& text)
{
    const size_t slash = text.find('/');
    const std::string list =
        slash == std::string::npos ? text + ",-1" : std::string(text).replace(slash, 1, ",");
    std::vector<int32_t> values(2);
    if (!ParseIntegers(list, 2, &values) || values[0] < 0) {
        Refuse("--interface", text, "TYPE or TYPE/ADDRESS, such as 0/0x378 or 6");
    }
    request->interfaceType = values[0];
    request->interfaceAddress = values[1];
}

} // namespace

void Refuse(const char* argument, const std::string& text, const char* wanted)
{
    throw CLI::ValidationError(argument, Text("\"%s\" is not %s", text.c_str(), wanted));
}

std::vector<int32_t> IntegersOf(const char* argument, const std::string& text, size_t count,
                                const char* wanted)
{
    std::vector<int32_t> values(count);
    if (!ParseIntegers(text, count, &values)) Refuse(argument, text, wanted);
    return values;
}

// An empty text is mostly a variable of a script that was not set.
CLI::Validator NotEmpty()
{
    return CLI::Validator([](std::string& text) { return text.empty() ? "an empty text" : ""; },
                          "");
}

// CLI::Range takes "nan" for a number of every range.
CLI::Validator Between(double low, double high)
{
    const std::string range = Text("%g to %g", low, high);
    return CLI::Validator(
        [low, high, range](std::string& text) {
            double value = 0.0;
            const bool inside =
                CLI::detail::lexical_cast(text, value) && value >= low && value <= high;
            return inside ? std::string() : Text("\"%s\" is not %s", text.c_str(), range.c_str());
        },
        range);
}

DefinitionOptions AddDefinitionOptions(CLI::App* command, const char* platformHelp,
                                       CameraRequest* request)
{
    command
        ->add_option("--library-path", request->libraryPath,
                     "Folder of qvn.cfg, as `qvn init` makes it. Without it: the folder qvn in the "
                     "current folder if there is one, else the current folder")
        ->type_name("FOLDER")
        ->check(NotEmpty())
        ->group(CameraGroup);
    auto* platform = command->add_option("--platform", request->platform, platformHelp)
                         ->type_name("CODE|NAME")
                         ->check(NotEmpty())
                         ->group(CameraGroup);
    auto* sensor = command
                       ->add_option("--sensor", request->sensor,
                                    "Sensor, code or name; default 275, kaf1600, or the "
                                    "platform's first")
                       ->type_name("CODE|NAME")
                       ->check(NotEmpty())
                       ->group(CameraGroup);
    auto* link =
        command
            ->add_option_function<std::string>(
                "--interface", [request](const std::string& text) { ReadInterface(request, text); },
                "Kind of link: 0 printer port, 1 port card, 2 and 4 PCI card, 6 USB; and "
                "its address. Default: usual for the platform")
            ->type_name("TYPE[/ADDRESS]")
            ->group(CameraGroup);
    return {platform, sensor, link};
}

void AddCameraOptions(CLI::App* command, CameraRequest* request)
{
    const DefinitionOptions definitions = AddDefinitionOptions(
        command,
        "Platform, code or name; default the virtual camera's, else 1, DEMO, the "
        "simulated camera",
        request);
    auto* config = command
                       ->add_option("--config", request->configFile,
                                    "Opens what this camera.cfg says; a name without a slash is "
                                    "sought beside qvn.cfg")
                       ->type_name("FILE")
                       ->check(NotEmpty())
                       ->group(CameraGroup);
    auto* camera = command->add_option("--camera", request->camera, "Number of the camera, 0 to 7")
                       ->type_name("N")
                       ->check(Between(0, 7))
                       ->group(CameraGroup);
    command
        ->add_option_function<std::string>(
            "--options",
            [request](const std::string& text) {
                if (!ParseBits(text, &request->options)) {
                    Refuse("--options", text, "a number of 32 bits such as 0x8");
                }
            },
            "Option bits of the library, such as 0x8; see QV_OPTION_... in qvn.h")
        ->type_name("BITS")
        ->group(CameraGroup);
    command
        ->add_flag("--attach", request->attach,
                   "Leaves a running camera as it is: it is not reset, and its cooler stays on")
        ->group(CameraGroup);
    for (auto* other : {definitions.platform, definitions.sensor, camera, definitions.link}) {
        config->excludes(other);
    }
    AddWorldOptions(command, &request->world);
}

void AddFindOptions(CLI::App* command, CameraRequest* request)
{
    command
        ->add_option("--serial", request->serial,
                     "The camera with this serial number, whatever its number is")
        ->type_name("N")
        ->check(Between(0, INT32_MAX))
        ->excludes("--camera")
        ->group(CameraGroup);
}

void AddComeBack(CLI::App* command, CameraRequest* request)
{
    command
        ->add_option("--come-back", request->comeBack,
                     "Waits so long for a camera whose link has failed, and goes on; default: ends")
        ->type_name("S")
        ->check(Between(0.0, 1e6))
        ->group(CameraGroup);
}

std::vector<CLI::Option*> AddCourse(CLI::App* command, const char* group, CoolingCourse* course)
{
    const auto add = [command, group](const char* name, const char* help, const char* unit,
                                      double least, double most, double* value) {
        return command->add_option(name, *value, help)
            ->type_name(unit)
            ->check(Between(least, most))
            ->group(group);
    };
    constexpr double Slowest = 0.01, Fastest = 1000.0;
    return {
        add("--tolerance", "Degrees, default 0.5", "DEGREES", 0.0, 100.0, &course->tolerance),
        add("--stable", "Seconds within the tolerance that count as steady, default 3", "S", 0.0,
            1e6, &course->stable),
        add("--ramp", "Cools by so many degrees a minute; default: as fast as the cooler can",
            "DEGREES", Slowest, Fastest, &course->ramp),
        add("--warm-up",
            "Warms up by so many degrees a minute at the end; default: the cooler "
            "goes off at once",
            "DEGREES", Slowest, Fastest, &course->warmUp),
    };
}

void AddWorldOptions(CLI::App* command, VirtualRequest* request)
{
    const char* group = "Virtual cameras";
    command
        ->add_option("--virtual", request->text,
                     "Virtual cameras in place of real ones, such as "
                     "platform=42,sensor=255,scene=stars; @FILE reads them from a file")
        ->type_name("TEXT")
        ->check(NotEmpty())
        ->group(group);
    command
        ->add_option("--trace", request->trace,
                     "A new file for all traffic with the virtual cameras, as text")
        ->type_name("FILE")
        ->check(NotEmpty())
        ->group(group);
}

void AddPictureOptions(CLI::App* command, const char* windowHelp, const PictureOptions& options)
{
    command
        ->add_option_function<std::string>(
            "--window",
            [options](const std::string& text) {
                const auto v = IntegersOf("--window", text, 4, "X,Y,WIDTH,HEIGHT");
                *options.window = {true, v[0], v[1], v[2], v[3]};
            },
            windowHelp)
        ->type_name("X,Y,WIDTH,HEIGHT")
        ->group(options.group);
    command
        ->add_option_function<std::string>(
            "--binning",
            [options](const std::string& text) {
                const char* wanted = "HORIZONTAL,VERTICAL, both at least 1";
                const auto v = IntegersOf("--binning", text, 2, wanted);
                if (v[0] < 1 || v[1] < 1) Refuse("--binning", text, wanted);
                *options.horBinning = v[0];
                *options.verBinning = v[1];
            },
            "Pixels to join, across and down")
        ->type_name("H,V")
        ->group(options.group);
}

void AddGainOption(CLI::App* command, const char* group, int32_t* gain)
{
    command->add_option("--gain", *gain, "Gain setting, an index from 0 to 4")
        ->type_name("N")
        ->check(Between(0, 4))
        ->group(group);
}
