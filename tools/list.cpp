// qvn list: platforms and the sensors that they carry.
#include <cstdio>

#include "include/qvn_bench.h"
#include "tools/catalogue_names.h"
#include "tools/commands.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

constexpr size_t LineWidth = 96;
constexpr size_t SensorColumn = 19;

void PrintPlatform(const CatalogueEntry& platform)
{
    std::string line = Text("%4d  %-12s ", platform.code, platform.name.c_str());
    const std::vector<CatalogueEntry> sensors = SensorsOf(platform.code);
    for (size_t i = 0; i < sensors.size(); ++i) {
        const bool last = i + 1 == sensors.size();
        const std::string word =
            Text(" %d %s%s", sensors[i].code, sensors[i].name.c_str(), last ? "" : ",");
        if (line.size() + word.size() > LineWidth) {
            std::printf("%s\n", line.c_str());
            line.assign(SensorColumn, ' ');
        }
        line += word;
    }
    if (sensors.empty()) line += " -";
    std::printf("%s\n", line.c_str());
}

void PrintTable(const std::vector<CatalogueEntry>& platforms)
{
    std::printf("Code  Platform      Sensors (code and name)\n");
    for (const CatalogueEntry& platform : platforms) PrintPlatform(platform);
}

std::string EntryJson(const CatalogueEntry& entry)
{
    return Text("\"code\": %d, \"name\": %s", entry.code, JsonText(entry.name).c_str());
}

void PrintJson(const std::vector<CatalogueEntry>& platforms)
{
    std::string text = "{\"platforms\": [";
    for (size_t i = 0; i < platforms.size(); ++i) {
        text += (i == 0 ? "\n  {" : ",\n  {") + EntryJson(platforms[i]) + ", \"sensors\": [";
        const std::vector<CatalogueEntry> sensors = SensorsOf(platforms[i].code);
        for (size_t j = 0; j < sensors.size(); ++j) {
            text += (j == 0 ? "\n    {" : ",\n    {") + EntryJson(sensors[j]) + "}";
        }
        text += "]}";
    }
    std::printf("%s\n]}\n", text.c_str());
}

std::string NameOf(const std::vector<CatalogueEntry>& entries, int32_t code)
{
    CatalogueEntry entry;
    return FindEntry(entries, std::to_string(code), &entry) ? entry.name : "";
}

void PrintInstrument(const QvbInstrument& instrument)
{
    const std::string platform = NameOf(Platforms(), instrument.Platform);
    const std::string sensor = NameOf(SensorsOf(instrument.Platform), instrument.Sensor);
    const std::string address =
        instrument.InterfaceAddress < 0 ? "" : Text(" at 0x%X", instrument.InterfaceAddress);
    const int32_t count = instrument.Heads;
    const std::string heads =
        count == 0 ? "" : Text(", an array of %d %s", count, count == 1 ? "head" : "heads");
    std::printf("%6d  %3d %-12s %4d %-10s %d%s%s\n", instrument.Camera, instrument.Platform,
                platform.c_str(), instrument.Sensor, sensor.c_str(), instrument.InterfaceType,
                address.c_str(), heads.c_str());
}

void PrintInstrumentJson(const QvbInstrument& instrument)
{
    const CatalogueEntry platform = {instrument.Platform, NameOf(Platforms(), instrument.Platform)};
    const CatalogueEntry sensor = {instrument.Sensor,
                                   NameOf(SensorsOf(instrument.Platform), instrument.Sensor)};
    std::printf("{\"camera\": %d, \"platform\": {%s}, \"sensor\": {%s}, "
                "\"interface\": [%d, %d], \"heads\": %d}",
                instrument.Camera, EntryJson(platform).c_str(), EntryJson(sensor).c_str(),
                instrument.InterfaceType, instrument.InterfaceAddress, instrument.Heads);
}

int ListInstruments(bool json)
{
    std::printf(json ? "{\"instruments\": [" : "Camera  Platform         Sensor          Link\n");
    for (int32_t index = 0; index < QVB_InstrumentCount(); ++index) {
        QvbInstrument instrument;
        QVB_Instrument(index, &instrument);
        if (json) {
            std::printf(index == 0 ? "\n  " : ",\n  ");
            PrintInstrumentJson(instrument);
        } else {
            PrintInstrument(instrument);
        }
    }
    if (json) std::printf("\n]}\n");
    return ExitDone;
}

} // namespace

int RunList(const ListRequest& request)
{
    if (!request.world.text.empty()) {
        return EnterVirtualWorld(request.world) ? ListInstruments(request.json) : ExitFailed;
    }
    std::vector<CatalogueEntry> platforms = Platforms();
    if (!request.platform.empty()) {
        CatalogueEntry entry;
        if (!FindEntry(platforms, request.platform, &entry)) {
            const std::string similar = SimilarNames(platforms, request.platform);
            Complain("listing", Text("--platform %s: no such platform", request.platform.c_str()),
                     similar.empty() ? "`qvn list` shows them all" : similar);
            return ExitFailed;
        }
        platforms = {entry};
    }
    if (request.json) {
        PrintJson(platforms);
    } else {
        PrintTable(platforms);
    }
    return ExitDone;
}
