// qvn doctor: looks at all that a camera needs, and says what to do.
#include "tools/doctor.h"

#include <cstdio>

#include "tools/catalogue_names.h"
#include "tools/commands.h"
#include "tools/report.h"
#include "tools/text.h"

namespace {

struct Row {
    const char* name;
    Finding finding;
};

const char* VerdictName(Verdict verdict)
{
    constexpr const char* names[] = {"ok", "warning", "fault"};
    return names[static_cast<uint8_t>(verdict)];
}

std::string Joined(const std::string& folder, const std::string& name)
{
    return name.find('/') == std::string::npos ? folder + "/" + name : name;
}

// A sensor that the platform does not carry is something to tell, not to stop at.
bool Choose(const CameraRequest& asked, Patient* patient)
{
    CameraRequest request = asked;
    CameraConfig config{};
    request.sensor.clear();
    if (!ChooseCamera(request, &patient->session, &config)) return false;
    patient->link = config.InterfaceType;
    patient->configFile =
        Joined(patient->session.folder, asked.configFile.empty() ? "camera.cfg" : asked.configFile);
    if (asked.sensor.empty()) return true;
    CatalogueEntry entry;
    if (!FindEntry(Sensors(), asked.sensor, &entry)) {
        const std::string similar = SimilarNames(Sensors(), asked.sensor);
        Complain("choosing the camera", Text("--sensor %s: no such sensor", asked.sensor.c_str()),
                 similar.empty() ? Text("`qvn list --platform %d`", patient->session.platform)
                                 : similar);
        return false;
    }
    patient->session.sensor = entry.code;
    patient->session.sensorName = entry.name;
    return true;
}

// As a card's driver locks it where the card takes a frame at once.
void MeasureFrame(Patient* patient)
{
    Session* session = &patient->session;
    if (QV_OpenPar(session->platform, session->sensor, session->camera) != 0) return;
    QV_GetCCDdata(&session->ccd, session->camera);
    const int64_t lines = int64_t{session->ccd.Ypix} + 2 * session->ccd.Dummy[0];
    const int64_t bytes = 2 * lines * session->ccd.Xpix;
    patient->frameBytes = bytes > 0 ? bytes : 0;
}

bool Prepare(const DoctorRequest& request, Patient* patient)
{
    if (!Choose(request.camera, patient)) return false;
    patient->root = request.root;
    const Session& session = patient->session;
    patient->definitions =
        CheckConfigPair(session.folder + "/qvn.cfg", {session.platformName, session.sensorName});
    MeasureFrame(patient);
    FindUsbChips(patient);
    FindCards(patient);
    return true;
}

std::vector<Row> LookAt(const Patient& patient)
{
    std::vector<Row> rows;
    for (const DoctorCheck* list : {FileChecks, UsbChecks, CardChecks, RightsChecks}) {
        for (const DoctorCheck* check = list; check->name != nullptr; ++check) {
            rows.push_back({check->name, check->Look(patient)});
        }
    }
    return rows;
}

void PrintTable(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        std::printf("%-8s %-15s %s\n", VerdictName(row.finding.verdict), row.name,
                    row.finding.text.c_str());
        if (!row.finding.advice.empty()) {
            std::printf("%-8s %-15s Try: %s\n", "", "", row.finding.advice.c_str());
        }
    }
}

void PrintJson(const std::vector<Row>& rows, const Patient& patient)
{
    std::printf("{\"camera\": %s, \"checks\": [", JsonText(CameraText(patient.session)).c_str());
    for (size_t i = 0; i < rows.size(); ++i) {
        const Finding& finding = rows[i].finding;
        std::printf("%s\n  {\"name\": %s, \"result\": \"%s\", \"finding\": %s, \"advice\": %s}",
                    i == 0 ? "" : ",", JsonText(rows[i].name).c_str(), VerdictName(finding.verdict),
                    JsonText(finding.text).c_str(), JsonText(finding.advice).c_str());
    }
    std::printf("\n]}\n");
}

} // namespace

bool IsOnUsb(const Patient& patient)
{
    return patient.link == QV_INTERFACE_USB;
}

bool IsOnPort(const Patient& patient)
{
    const bool port =
        patient.link == QV_INTERFACE_PRINTER_PORT || patient.link == QV_INTERFACE_PORT_CARD;
    return port && patient.session.platform != QV_PLATFORM_DEMO;
}

bool IsOnCard(const Patient& patient)
{
    return patient.session.platform != QV_PLATFORM_DEMO && !IsOnUsb(patient) && !IsOnPort(patient);
}

int RunDoctor(const DoctorRequest& request)
{
    Patient patient;
    if (!Prepare(request, &patient)) return ExitFailed;
    const std::vector<Row> rows = LookAt(patient);
    size_t faults = 0, warnings = 0;
    for (const Row& row : rows) {
        if (row.finding.verdict == Verdict::Fault) ++faults;
        if (row.finding.verdict == Verdict::Warning) ++warnings;
    }
    if (request.json) {
        PrintJson(rows, patient);
    } else {
        PrintTable(rows);
        std::printf("%s: faults %zu, warnings %zu\n", CameraText(patient.session).c_str(), faults,
                    warnings);
    }
    return faults == 0 ? ExitDone : ExitFailed;
}
