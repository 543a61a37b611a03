// qvn doctor on a folder that looks like a system: each check with both outcomes.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/tools/fixture.h"

namespace {

namespace fs = std::filesystem;

// 768 x (512 + 2 x 4) pixels of two bytes.
constexpr char Definitions[] =
    "rmk_camera_library: { ccd_definitions: { kaf400e: { Manufacturer = 20; Xpix = 768;\n"
    "Ypix = 512; XpixDim = 9.0; YpixDim = 9.0; Xarea = 6.9; Yarea = 4.6;\n"
    "Dummy = [ 4, 2, 2, 1 ]; HorDummyPix = 10; HorRegSize = 800; Antiblooming = 0;\n"
    "MultipleOutput = 1; Shutter = 1; FWC = 1e5; CCF = 10.0; }; };\n"
    "camera_platforms: {\n";
constexpr char PlatformKeys[] =
    ": { ADbit = [ 16, 0 ]; TimeBase = 40.0; FpgaId = 42; ADclock = 1.0;\n"
    "NumberOfGains = 4; AntiBloomingTimer = 0; kaf400e: { AmplifierDelay = 1.0;\n"
    "SamplingClock = [ 0.5, 0.5 ]; VerticalPhasePeriod = 5; Gain = [ 1.0, 2.0, 4.0, 8.0 ]; }; };\n";
constexpr char Chip[] = "sys/bus/usb/devices/1-2";
constexpr char Card[] = "0000:03:00.0";

struct Doctor : QvnProgram {
    void SetUp() override
    {
        QvnProgram::SetUp();
        std::string text = Definitions;
        for (const char* name : {"BRIAR-R3", "BRIAR", "HERON_Plus", "Tarn_IV"}) {
            text += std::string(name) + PlatformKeys;
        }
        WriteText(scratch, "qvn.cfg", text + "}; };\n");
        Put("proc/self/status", "Name:\tqvn\nCapEff:\t0000000000000000\n");
        SetLimits("8388608", "0");
    }

    void Put(const std::string& name, const std::string& text)
    {
        fs::create_directories((fs::path(scratch.path) / "root" / name).parent_path());
        WriteText(scratch, "root/" + name, text);
    }
    void Link(const std::string& name, const std::string& target)
    {
        const fs::path path = fs::path(scratch.path) / "root" / name;
        fs::create_directories(path.parent_path());
        fs::remove(path);
        fs::create_symlink(target, path);
    }
    void SetLimits(const std::string& memory, const std::string& priority)
    {
        Put("proc/self/limits",
            "Limit                     Soft Limit           Hard Limit           Units\n"
            "Max locked memory         " +
                memory + "              8388608              bytes\n" +
                "Max realtime priority     " + priority + "                    0\n");
    }
    void Grant(const char* mask)
    {
        Put("proc/self/status", std::string("Name:\tqvn\nCapEff:\t") + mask + "\n");
    }

    void PlugChip(bool withNode)
    {
        const std::string chip = Chip;
        Put(chip + "/idVendor", "0403\n");
        Put(chip + "/idProduct", "6010\n");
        Put(chip + "/busnum", "1\n");
        Put(chip + "/devnum", "7\n");
        if (withNode) Put("dev/bus/usb/001/007", "");
    }
    void SeatCard()
    {
        const std::string card = std::string("sys/bus/pci/devices/") + Card;
        Put(card + "/vendor", "0x11e3\n");
        Put(card + "/device", "0x07d1\n");
    }
    // In a group of translated addresses, as seen by its own folder and by the group's.
    void GroupCard(const char* type)
    {
        const std::string group = "sys/kernel/iommu_groups/7";
        Put(group + "/type", std::string(type) + "\n");
        Link(group + "/devices/" + Card, "../../../../bus/pci/devices/" + std::string(Card));
        Link(std::string("sys/bus/pci/devices/") + Card + "/iommu_group",
             "../../../../kernel/iommu_groups/7");
    }
    void BindCard(const char* driver)
    {
        Link(std::string("sys/bus/pci/devices/") + Card + "/driver",
             std::string("../../../../bus/pci/drivers/") + driver);
    }

    // From here on the program runs without root's rights. False: it cannot.
    bool BecomePlainUser()
    {
        scratch.asNobody = geteuid() == 0;
        chmod(scratch.path.c_str(), 0755);
        return Run({"--version"}).exitCode == 0;
    }

    ProgramResult See(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "doctor");
        arguments.insert(arguments.end(), {"--sensor", "kaf400e", "--root", "root"});
        return Run(arguments);
    }

    // The line of a check, from its verdict on, and that of its advice.
    void ExpectLine(const std::string& platform, const std::string& line, const std::string& advice)
    {
        const ProgramResult result = See({"--platform", platform});
        const size_t at = ("\n" + result.out).find("\n" + line + "\n");
        ASSERT_NE(at, std::string::npos) << line << "\nis not in\n" << result.out << result.err;
        const std::string next = result.out.substr(at + line.size() + 1);
        const size_t tryAt = next.substr(0, next.find('\n')).find("Try: ");
        if (advice.empty()) {
            EXPECT_EQ(tryAt, std::string::npos) << next;
        } else {
            EXPECT_EQ(next.substr(tryAt, 5 + advice.size()), "Try: " + advice);
        }
        const bool fault = ("\n" + result.out).find("\nfault ") != std::string::npos;
        EXPECT_EQ(result.exitCode, fault ? 1 : 0);
    }
};

} // namespace

TEST_F(Doctor, SimulatedCameraWithItsSampleFilesIsWell)
{
    ASSERT_TRUE(CopySampleFiles(scratch, "qvn"));
    const ProgramResult result = Run({"doctor", "--root", "root"});
    EXPECT_EQ(result.exitCode, 0) << result.out;
    EXPECT_TRUE(Contains(result.out, "DEMO with kaf1600: faults 0, warnings 0\n")) << result.out;
    EXPECT_FALSE(Contains(result.out, "Try: ")) << result.out;
}

TEST_F(Doctor, MissingDefinitionsAreAFault)
{
    ASSERT_EQ(unlink((scratch.path + "/qvn.cfg").c_str()), 0);
    ExpectLine(
        "44", "fault    definitions     ./qvn.cfg cannot be opened",
        "--library-path FOLDER with a folder that holds qvn.cfg; `qvn init FOLDER` makes one");
}

TEST_F(Doctor, BrokenDefinitionsAreAFaultWithTheLine)
{
    ExpectLine("44", "ok       definitions     ./qvn.cfg", "");
    WriteText(scratch, "qvn.cfg", "rmk_camera_library:\n{ x = ; };\n");
    ExpectLine("44", "fault    definitions     ./qvn.cfg:2: syntax error",
               "`qvn config check ./qvn.cfg`");
}

TEST_F(Doctor, KeysThatReadAsZeroAreNamed)
{
    ExpectLine("44", "ok       keys            complete for BRIAR-R3 with kaf400e", "");
    std::string text = ReadText(scratch, "qvn.cfg");
    text.replace(text.find("Xpix = 768;"), 11, "           ");
    WriteText(scratch, "qvn.cfg", text);
    ExpectLine("44",
               "fault    keys            ./qvn.cfg:1: rmk_camera_library.ccd_definitions.kaf400e."
               "Xpix: missing, it reads as 0; 2 to 32767, columns",
               "`qvn config check ./qvn.cfg`");
    text.replace(text.find("Manufacturer = 20;"), 18, "Xpix = 768;       ");
    WriteText(scratch, "qvn.cfg", text);
    ExpectLine("44",
               "warning  keys            ./qvn.cfg:1: rmk_camera_library.ccd_definitions.kaf400e."
               "Manufacturer: missing, it reads as 0; 0 to 255, family code",
               "`qvn config check ./qvn.cfg`");
}

TEST_F(Doctor, ADefinitionThatIsNotThereIsAFault)
{
    ExpectLine("42",
               "fault    keys            ./qvn.cfg:1: rmk_camera_library.camera_platforms."
               "BRIAR-PCI: missing, all of its keys read as 0; and 1 more",
               "`qvn config check ./qvn.cfg`");
}

TEST_F(Doctor, TheCalibrationOfSomePlatformsNeedsCameraCfg)
{
    ExpectLine("44", "ok       camera.cfg      none; it is not needed", "");
    ExpectLine("61",
               "warning  camera.cfg      ./camera.cfg is not there, so temperatures read a degree "
               "too high",
               "a camera.cfg beside qvn.cfg");
    // Of 22 keys one is there.
    WriteText(scratch, "camera.cfg", "CameraConfig: {\nPlatform = 61;\n};\n");
    const ProgramResult result = See({"--platform", "61"});
    EXPECT_TRUE(Contains(result.out,
                         "fault    camera.cfg      ./camera.cfg:1: CameraConfig.CCD: "
                         "missing, it reads as 0; 1 to 32767, sensor code; and 20 more"))
        << result.out;
}

// The pattern of a camera on the bus is written there; the simulated one has none.
TEST_F(Doctor, TheFolderMustBeWritableForAPattern)
{
    ExpectLine("44", "ok       library folder  ., writable", "");
    if (!BecomePlainUser()) GTEST_SKIP() << "the build folder is closed to others";
    chmod(scratch.path.c_str(), 0555);
    ExpectLine("44", "fault    library folder  . cannot be written: Permission denied",
               "a folder of your own: `qvn init FOLDER`");
    ExpectLine(
        "1", "ok       library folder  . cannot be written; this camera needs no pattern file", "");
    chmod(scratch.path.c_str(), 0755);
}

TEST_F(Doctor, APlatformWithoutADriverIsAFault)
{
    ExpectLine("10", "fault    driver          Tarn_I has a name but no driver",
               "another --platform");
    ExpectLine("44", "ok       driver          BRIAR-R3, link of kind 2", "");
    const ProgramResult result = See({"--platform", "40", "--interface", "2"});
    EXPECT_TRUE(Contains(result.out, "fault    driver          link: 40 BRIAR has no link of kind "
                                     "2; it has 0\n"))
        << result.out;
    EXPECT_TRUE(Contains(result.out, "Try: --interface with one of these")) << result.out;
}

TEST_F(Doctor, EachPlatformHasAUsualLink)
{
    ExpectLine("40", "ok       driver          BRIAR, link of kind 0", "");
    ExpectLine("41", "ok       driver          BRIAR-ISA, link of kind 1", "");
    ExpectLine("42", "ok       driver          BRIAR-PCI, link of kind 2", "");
    ExpectLine("450", "ok       driver          TOLM_E, link of kind 6", "");
}

TEST_F(Doctor, APairWithoutABuilderIsAFault)
{
    ExpectLine("24", "ok       clock pattern   Tarn_IV with kaf400e", "");
    const ProgramResult result =
        Run({"doctor", "--platform", "24", "--sensor", "kaf3200", "--root", "root"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Contains(result.out, "fault    clock pattern   Tarn_IV has no builder for kaf3200, "
                                     "nor does it list that sensor\n"))
        << result.out;
    EXPECT_TRUE(Contains(result.out, "Try: --sensor with one of ccd30-11, ")) << result.out;
    EXPECT_EQ(Run({"doctor", "--sensor", "kaf99999", "--root", "root"}).exitCode, 1);
}

TEST_F(Doctor, AUsbCameraMustBePluggedIn)
{
    ExpectLine("44", "ok       USB cameras     none, and none is needed", "");
    ExpectLine("61", "fault    USB cameras     no device 0403:6001|6010|6014 is plugged in",
               "plug the camera in and switch it on");
    PlugChip(true);
    ExpectLine("61", "ok       USB cameras     at 1-2", "");
}

TEST_F(Doctor, ADeviceOfAnotherVendorIsNoCamera)
{
    PlugChip(true);
    Put(std::string(Chip) + "/idProduct", "6011\n");
    ExpectLine("1", "ok       USB cameras     none, and none is needed", "");
}

TEST_F(Doctor, AUsbCameraMustBeOpenToTheUser)
{
    PlugChip(false);
    ExpectLine("61",
               "fault    USB rights      /dev/bus/usb/001/007 at 1-2: No such file or directory",
               "install 70-qvn.rules");
    PlugChip(true);
    ExpectLine("61", "ok       USB rights      this user may open them", "");
    if (!BecomePlainUser()) GTEST_SKIP() << "the build folder is closed to others";
    chmod((scratch.path + "/root/dev/bus/usb/001/007").c_str(), 0600);
    if (geteuid() != 0) chmod((scratch.path + "/root/dev/bus/usb/001/007").c_str(), 0);
    ExpectLine("61", "fault    USB rights      /dev/bus/usb/001/007 at 1-2: Permission denied",
               "install 70-qvn.rules");
    ExpectLine("1", "warning  USB rights      /dev/bus/usb/001/007 at 1-2: Permission denied",
               "install 70-qvn.rules");
}

TEST_F(Doctor, TheKernelsSerialDriverIsNamed)
{
    PlugChip(true);
    ExpectLine("61", "ok       serial driver   ftdi_sio has none of them", "");
    Link(std::string(Chip) + ":1.0/driver", "../../../bus/usb/drivers/ftdi_sio");
    ExpectLine("61", "warning  serial driver   ftdi_sio has 1-2", "nothing with libftdi1");
}

TEST_F(Doctor, TheUdevRuleIsLookedFor)
{
    ExpectLine("1", "ok       udev rule       none, and none is needed", "");
    ExpectLine("61", "warning  udev rule       no udev rule gives the chips to a user",
               "sudo cp share/udev/70-qvn.rules /etc/udev/rules.d/");
    // One that names the chips and gives them to nobody.
    Put("usr/lib/udev/rules.d/60-other.rules", "ATTR{idVendor}==\"0403\", ENV{OTHER}=\"1\"\n");
    ExpectLine("61", "warning  udev rule       no udev rule gives the chips to a user", "sudo cp");
    Put("etc/udev/rules.d/71-cameras.rules", "ATTR{idVendor}==\"0403\", GROUP=\"observers\"\n");
    ExpectLine("61", "ok       udev rule       /etc/udev/rules.d/71-cameras.rules", "");
}

TEST_F(Doctor, TheInterfaceCardMustBeThere)
{
    ExpectLine("1", "ok       interface card  none, and none is needed", "");
    ExpectLine("44", "fault    interface card  no interface card: no device 11e3:07d0 to 07d7",
               "seat the card anew; `lspci -d 11e3:`");
    SeatCard();
    ExpectLine("44", "ok       interface card  0000:03:00.0", "");
}

TEST_F(Doctor, ADriverThatHoldsTheCardIsNamed)
{
    SeatCard();
    ExpectLine("44",
               "fault    card driver     0000:03:00.0 has no driver, and this user may neither "
               "bind it nor map it",
               "let root bind it to vfio-pci once");
    Put(std::string("sys/bus/pci/devices/") + Card + "/driver_override", "");
    ExpectLine("44", "ok       card driver     vfio-pci or none", "");
    BindCard("windrvr");
    ExpectLine("44", "fault    card driver     0000:03:00.0 is held by the driver windrvr",
               "take it away: echo 0000:03:00.0 > /sys/bus/pci/devices/0000:03:00.0/driver/unbind");
    ExpectLine("1", "warning  card driver     0000:03:00.0 is held by the driver windrvr",
               "take it away");
    BindCard("vfio-pci");
    ExpectLine("44", "ok       card driver     vfio-pci or none", "");
}

TEST_F(Doctor, WithoutAnIommuHugePagesAreNeeded)
{
    SeatCard();
    ExpectLine("44",
               "fault    IOMMU           the bus addresses of 0000:03:00.0 are not translated (no "
               "IOMMU), and there are no huge pages",
               "IOMMU on, in the firmware");
    Put("proc/sys/vm/nr_hugepages", "8\n");
    ExpectLine("44",
               "warning  IOMMU           the bus addresses of 0000:03:00.0 are not translated (no "
               "IOMMU): 8 huge pages, a line at a time",
               "nothing as root");
    GroupCard("identity");
    ExpectLine("44",
               "warning  IOMMU           the bus addresses of 0000:03:00.0 are not translated (no "
               "IOMMU): 8 huge pages, a line at a time",
               "nothing as root");
    GroupCard("DMA");
    ExpectLine("44", "ok       IOMMU           group 7", "");
}

TEST_F(Doctor, AnotherDeviceOfTheGroupIsInTheWay)
{
    SeatCard();
    GroupCard("DMA");
    Link("sys/kernel/iommu_groups/7/devices/0000:03:01.0", "../../../../bus/pci/devices/x");
    Link("sys/bus/pci/devices/0000:03:01.0/driver", "../../drivers/pcieport");
    ExpectLine("44", "ok       IOMMU           group 7", "");
    Link("sys/bus/pci/devices/0000:03:01.0/driver", "../../drivers/e1000");
    ExpectLine("44",
               "fault    IOMMU           group 7 of 0000:03:00.0 has another device with a driver: "
               "0000:03:01.0 (e1000)",
               "unbind that device too");
}

TEST_F(Doctor, VfioMustBeLoadedAndTheGroupOpen)
{
    SeatCard();
    GroupCard("DMA");
    ExpectLine("44", "fault    VFIO            /dev/vfio/vfio: No such file or directory",
               "sudo modprobe vfio-pci");
    Put("dev/vfio/vfio", "");
    ExpectLine("44", "ok       VFIO            this user may open the card", "");
    BindCard("vfio-pci");
    ExpectLine("44", "fault    VFIO            /dev/vfio/7: No such file or directory",
               "sudo chown USER /dev/vfio/7");
    Put("dev/vfio/7", "");
    ExpectLine("44", "ok       VFIO            this user may open the card", "");
}

// 768 x (512 + 2 x 4) x 2 bytes = 798720.
TEST_F(Doctor, TheLockedMemoryMustHoldAFrame)
{
    ExpectLine("61", "ok       locked memory   no DMA on this link", "");
    SetLimits("798719", "0");
    ExpectLine("44",
               "fault    locked memory   the limit is 798719 bytes, a frame by DMA needs 798720",
               "memlock 780 (kB) in /etc/security/limits.conf");
    for (const char* limit : {"798720", "unlimited"}) {
        SetLimits(limit, "0");
        ExpectLine("44", "ok       locked memory   a frame of 798720 bytes may be locked", "");
    }
    SetLimits("65536", "0");
    Grant("0000000000004000"); // bit 14
    ExpectLine("44", "ok       locked memory   a frame of 798720 bytes may be locked", "");
}

TEST_F(Doctor, PortsNeedACapabilityAndNoLockdown)
{
    ExpectLine("44", "ok       I/O ports       none on this link", "");
    const auto ports = [this](const std::string& line) {
        const ProgramResult result = See({"--platform", "40", "--interface", "0/0x378"});
        EXPECT_TRUE(Contains(result.out, line + "\n")) << result.out;
        return result.exitCode;
    };
    EXPECT_EQ(ports("fault    I/O ports       this user may not use I/O ports"), 1);
    Grant("0000000000020000"); // bit 17
    EXPECT_EQ(ports("ok       I/O ports       this process may use them"), 0);
    Put("sys/kernel/security/lockdown", "[none] integrity confidentiality\n");
    EXPECT_EQ(ports("ok       I/O ports       this process may use them"), 0);
    Put("sys/kernel/security/lockdown", "none [integrity] confidentiality\n");
    EXPECT_EQ(ports("fault    I/O ports       the kernel refuses them: lockdown none [integrity] "
                    "confidentiality"),
              1);
}

TEST_F(Doctor, RealTimePriorityIsForPorts)
{
    ExpectLine("44", "ok       priority        not raised on this link", "");
    const auto priority = [this](const std::string& line) {
        const ProgramResult result = See({"--platform", "40", "--interface", "0/0x378"});
        EXPECT_TRUE(Contains(result.out, line + "\n")) << result.out;
    };
    const std::string usual =
        "warning  priority        readouts with --options 0x1800 run at the usual priority";
    SetLimits("8388608", "49");
    priority(usual);
    SetLimits("8388608", "50");
    priority("ok       priority        readouts may have it");
    SetLimits("8388608", "0");
    priority(usual);
    Grant("0000000000800000"); // bit 23
    priority("ok       priority        readouts may have it");
}

TEST_F(Doctor, ConfigurationFileChoosesTheCamera)
{
    WriteText(scratch, "mine.cfg",
              "CameraConfig: { Platform = 61; CCD = 255; InterfaceType = 6; PciIndex = 0; };\n");
    const ProgramResult result = Run({"doctor", "--config", "./mine.cfg", "--root", "root"});
    EXPECT_TRUE(Contains(result.out, "HERON_Plus with kaf400e: faults ")) << result.out;
    EXPECT_TRUE(Contains(result.out, "fault    camera.cfg      ./mine.cfg:1: ") ||
                Contains(result.out, "warning  camera.cfg      ./mine.cfg:1: "))
        << result.out;
}

TEST_F(Doctor, VirtualCamerasAreNotItsMatter)
{
    EXPECT_EQ(Run({"--virtual", "platform=44", "doctor"}).exitCode, 2);
}

TEST_F(Doctor, JsonHasTheSameRows)
{
    const ProgramResult result = See({"--platform", "61", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    WriteText(scratch, "answer.json", result.out);
    const std::string command =
        "/usr/bin/python3 -c \"import json,sys; d = json.load(open('" + scratch.path +
        "/answer.json')); c = {x['name']: x for x in d['checks']}; sys.exit(0 if d['camera'] == "
        "'HERON_Plus with kaf400e' and len(c) == 17 and c['USB cameras']['result'] == 'fault' and "
        "c['USB cameras']['advice'] != '' and c['driver']['advice'] == '' else 1)\"";
    EXPECT_EQ(std::system(command.c_str()), 0) << result.out;
}
