// qvn doctor: the folder of definitions, camera.cfg, the platform and its sensor.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/catalogue_names.h"
#include "tools/doctor.h"
#include "tools/text.h"

namespace {

// They take the calibration of their temperature from camera.cfg.
constexpr int32_t CalibratedByFile[] = {61, 300, 450};

std::string DefinitionFile(const Patient& patient)
{
    return patient.session.folder + "/qvn.cfg";
}

// Of the file as a whole; null: it was read.
const ConfigProblem* WholeProblem(const ConfigReport& report)
{
    for (const ConfigProblem& problem : report.problems) {
        if (problem.path.empty()) return &problem;
    }
    return nullptr;
}

std::string CheckAdvice(const std::string& file)
{
    return Text("`qvn config check %s`; `qvn init FOLDER` writes complete files to compare with",
                file.c_str());
}

Finding CheckDefinitions(const Patient& patient)
{
    const std::string file = DefinitionFile(patient);
    if (!patient.definitions.opened) {
        return {Verdict::Fault, file + " cannot be opened",
                "--library-path FOLDER with a folder that holds qvn.cfg; `qvn init FOLDER` makes "
                "one"};
    }
    const ConfigProblem* problem = WholeProblem(patient.definitions);
    if (problem == nullptr) return {Verdict::Ok, file, ""};
    return {Verdict::Fault, Text("%s:%d: %s", file.c_str(), problem->line, problem->text.c_str()),
            CheckAdvice(file)};
}

// The most serious of the problems, and how many there are.
Finding FindingOf(const std::string& file, const std::vector<ConfigProblem>& problems)
{
    const auto vital = std::find_if(problems.begin(), problems.end(),
                                    [](const ConfigProblem& problem) { return problem.vital; });
    const ConfigProblem& shown = vital == problems.end() ? problems.front() : *vital;
    const std::string more =
        problems.size() == 1 ? "" : Text("; and %zu more", problems.size() - 1);
    return {vital == problems.end() ? Verdict::Warning : Verdict::Fault,
            Text("%s:%d: %s%s%s%s", file.c_str(), shown.line, shown.path.c_str(),
                 shown.path.empty() ? "" : ": ", shown.text.c_str(), more.c_str()),
            CheckAdvice(file)};
}

Finding CheckKeys(const Patient& patient)
{
    const std::string camera = CameraText(patient.session);
    if (!patient.definitions.opened || WholeProblem(patient.definitions) != nullptr) {
        return {Verdict::Warning, "not looked at, since qvn.cfg cannot be read",
                "what is said of the definitions"};
    }
    if (!patient.definitions.problems.empty()) {
        return FindingOf(DefinitionFile(patient), patient.definitions.problems);
    }
    return {Verdict::Ok, "complete for " + camera, ""};
}

Finding CheckCameraFile(const Patient& patient)
{
    const ConfigReport report = CheckConfigFile(patient.configFile);
    if (report.opened && !report.problems.empty()) {
        return FindingOf(patient.configFile, report.problems);
    }
    if (report.opened) return {Verdict::Ok, patient.configFile, ""};
    const bool calibrated = std::find(std::begin(CalibratedByFile), std::end(CalibratedByFile),
                                      patient.session.platform) != std::end(CalibratedByFile);
    if (!calibrated) return {Verdict::Ok, "none; it is not needed", ""};
    return {
        Verdict::Warning,
        Text("%s is not there, so temperatures read a degree too high", patient.configFile.c_str()),
        "a camera.cfg beside qvn.cfg with the TemperatureOffset and TemperatureSpan of this "
        "camera"};
}

bool HasPattern(const Patient& patient, int32_t sensor)
{
    QvbWaveLines lines;
    return QVB_WaveLines(patient.session.platform, sensor, patient.link, 1, &lines) == 0;
}

Finding CheckFolder(const Patient& patient)
{
    const std::string& folder = patient.session.folder;
    const bool written = HasPattern(patient, patient.session.sensor);
    if (access(folder.c_str(), W_OK | X_OK) == 0) return {Verdict::Ok, folder + ", writable", ""};
    const std::string why = std::strerror(errno);
    if (!written) {
        return {Verdict::Ok, folder + " cannot be written; this camera needs no pattern file", ""};
    }
    return {Verdict::Fault, Text("%s cannot be written: %s", folder.c_str(), why.c_str()),
            "a folder of your own: `qvn init FOLDER`, then --library-path FOLDER; the library "
            "keeps the clock pattern, wave.bin, there"};
}

// Every platform that has a driver can be virtual, on each of the links that it has. What is
// wrong otherwise; empty: nothing.
std::string WhyNotVirtual(const std::string& what)
{
    char error[512] = "";
    const int32_t code = QVB_Install((what + ",time=virtual").c_str(), error, sizeof error);
    QVB_Uninstall();
    return code == QVB_ERROR_SPEC ? error : "";
}

Finding CheckDriver(const Patient& patient)
{
    const std::string& name = patient.session.platformName;
    if (patient.session.platform == QV_PLATFORM_DEMO) return {Verdict::Ok, name, ""};
    const std::string platform = Text("platform=%d", patient.session.platform);
    if (!WhyNotVirtual(platform).empty()) {
        return {Verdict::Fault, name + " has a name but no driver",
                "another --platform; docs/functions.md lists those with a driver"};
    }
    const std::string why = WhyNotVirtual(Text("%s,link=%d", platform.c_str(), patient.link));
    if (!why.empty()) {
        return {Verdict::Fault, why, "--interface with one of these, and its address for a port"};
    }
    return {Verdict::Ok, Text("%s, link of kind %d", name.c_str(), patient.link), ""};
}

std::string SensorsWithPattern(const Patient& patient)
{
    std::string text;
    for (const CatalogueEntry& sensor : SensorsOf(patient.session.platform)) {
        if (!HasPattern(patient, sensor.code)) continue;
        text += (text.empty() ? "" : ", ") + sensor.name;
    }
    return text;
}

Finding CheckBuilder(const Patient& patient)
{
    const Session& session = patient.session;
    const std::string camera = CameraText(session);
    CatalogueEntry entry;
    const bool carried =
        FindEntry(SensorsOf(session.platform), std::to_string(session.sensor), &entry);
    if (HasPattern(patient, session.sensor)) {
        if (carried) return {Verdict::Ok, camera, ""};
        return {Verdict::Warning,
                Text("%s does not list %s; the pattern is that of its other sensors",
                     session.platformName.c_str(), session.sensorName.c_str()),
                Text("`qvn list --platform %d`", session.platform)};
    }
    if (carried) return {Verdict::Ok, "no pattern file is made for " + camera, ""};
    const std::string others = SensorsWithPattern(patient);
    return {Verdict::Fault,
            Text("%s has no builder for %s, nor does it list that sensor",
                 session.platformName.c_str(), session.sensorName.c_str()),
            others.empty() ? Text("`qvn list --platform %d`", session.platform)
                           : "--sensor with one of " + others};
}

} // namespace

const DoctorCheck FileChecks[] = {
    {"definitions", CheckDefinitions},
    {"keys", CheckKeys},
    {"camera.cfg", CheckCameraFile},
    {"library folder", CheckFolder},
    {"driver", CheckDriver},
    {"clock pattern", CheckBuilder},
    {},
};
