// qvn doctor: what the system grants to this user.
#include <cstdlib>

#include "platform/readout_priority.h"
#include "tools/doctor.h"
#include "tools/text.h"

namespace {

// Numbers of capabilities.
constexpr uint32_t LockMemory = 14, RawPorts = 17, Nice = 23;

constexpr char Unlimited[] = "unlimited";

// The soft limit, as the kernel writes it; empty: not known.
std::string Limit(const Patient& patient, const char* name)
{
    return WordBehind(patient.root + "/proc/self/limits", name);
}

bool Reaches(const std::string& limit, int64_t needed)
{
    return limit == Unlimited || std::strtoll(limit.c_str(), nullptr, 10) >= needed;
}

Finding CheckLockedMemory(const Patient& patient)
{
    if (!IsOnCard(patient)) return {Verdict::Ok, "no DMA on this link", ""};
    const std::string limit = Limit(patient, "Max locked memory");
    const long long frame = patient.frameBytes;
    if (frame == 0) {
        return {Verdict::Warning, "the size of a frame is not known",
                "what is said of the definitions"};
    }
    if (HasCapability(patient, LockMemory) || Reaches(limit, frame)) {
        return {Verdict::Ok, Text("a frame of %lld bytes may be locked", frame), ""};
    }
    return {Verdict::Fault,
            Text("the limit is %s bytes, a frame by DMA needs %lld", limit.c_str(), frame),
            Text("memlock %lld (kB) in /etc/security/limits.conf, or LimitMEMLOCK= of the service; "
                 "or --options 0x4000, a line at a time",
                 (frame + 1023) / 1024)};
}

Finding CheckPorts(const Patient& patient)
{
    if (!IsOnPort(patient)) return {Verdict::Ok, "none on this link", ""};
    const std::string lockdown = FirstLine(patient.root + "/sys/kernel/security/lockdown");
    if (lockdown.find('[') != std::string::npos && lockdown.find("[none]") == std::string::npos) {
        return {Verdict::Fault, "the kernel refuses them: lockdown " + lockdown,
                "Secure Boot off in the firmware, or a camera on another link"};
    }
    if (HasCapability(patient, RawPorts)) return {Verdict::Ok, "this process may use them", ""};
    return {Verdict::Fault, "this user may not use I/O ports",
            "run as root, or sudo setcap cap_sys_rawio+ep PROGRAM; docs/card.md, \"Ports\""};
}

Finding CheckPriority(const Patient& patient)
{
    if (!IsOnPort(patient)) return {Verdict::Ok, "not raised on this link", ""};
    if (HasCapability(patient, Nice) ||
        Reaches(Limit(patient, "Max realtime priority"), ReadoutPriority)) {
        return {Verdict::Ok, "readouts may have it", ""};
    }
    return {Verdict::Warning, "readouts with --options 0x1800 run at the usual priority",
            Text("rtprio %d in /etc/security/limits.conf, or LimitRTPRIO= of the service",
                 ReadoutPriority)};
}

} // namespace

const DoctorCheck RightsChecks[] = {
    {"locked memory", CheckLockedMemory},
    {"I/O ports", CheckPorts},
    {"priority", CheckPriority},
    {},
};
