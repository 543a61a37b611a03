// Tarn_V on the card: what goes to its registers, and what the stream becomes. The
// sensor is 8 by 4 with three dummy lines; the stream's word n is n.
#include "drivers/tarn5/tarn5.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "core/binding.h"
#include "core/flags.h"
#include "core/options.h"
#include "core/record.h"
#include "emulator/emulator.h"
#include "links/card.h"
#include "tests/support/fake_bus.h"
#include "tests/support/temp_folder.h"

namespace {

constexpr uint16_t Untouched = 0xAAAA;
constexpr int32_t Width = 8, Height = 4;

std::map<int32_t, std::vector<uint16_t>> Answers; // of a register; the last one stays

class Tarn5 : public FakeBusTest {
protected:
    std::vector<uint16_t> frame = std::vector<uint16_t>(Width * Height + 8, Untouched);
    CameraRecord& record = CameraTable[0];

    void SetUp() override
    {
        FakeBusTest::SetUp();
        Answers.clear();
        Tarn5Temperatures = {};
        Open(0);
    }

    void Open(uint32_t options, int32_t sensor = 120)
    {
        OpenFakeBus(28, sensor, options, 2);
        record.Ccd.Dummy[0] = 3;
        PlugFakeCard(512);
        Bus.stream.resize(512);
        std::iota(Bus.stream.begin(), Bus.stream.end(), uint16_t{0});
        record.Ops.ReadRegister = [](int32_t reg, int32_t) -> uint16_t {
            Bus.log.push_back("read " + std::to_string(reg));
            std::vector<uint16_t>& answers = Answers[reg];
            if (answers.empty()) return 0;
            const uint16_t answer = answers.front();
            if (answers.size() > 1) answers.erase(answers.begin());
            return answer;
        };
    }

    // The orders that went to the coprocessor: words with a comma, the last with a stop.
    static std::string Orders()
    {
        std::string orders;
        std::string word;
        for (const std::string& line : Bus.log) {
            if (line.rfind("reg 14 ", 0) == 0)
                word = std::to_string(std::stoul(line.substr(7), nullptr, 16));
            if (line.rfind("reg 11 ", 0) != 0) continue;
            const unsigned long mode = std::stoul(line.substr(7), nullptr, 16);
            if ((mode & 0x2000) != 0) orders += word + ((mode & 0x1000) != 0 ? ". " : ", ");
        }
        Bus.log.clear();
        return orders;
    }

    void ExpectRun(size_t count, uint16_t first)
    {
        for (size_t i = 0; i < count; ++i) EXPECT_EQ(frame[i], first + i) << i;
        for (size_t i = count; i < frame.size(); ++i) EXPECT_EQ(frame[i], Untouched) << i;
    }

    double Temperature(uint16_t reading)
    {
        Answers[19] = {reading};
        record.Ops.ReadTemperature(0);
        return record.CurrentTemperature;
    }
};

std::string Loaded(const char* page, const char* repeat, const char* end)
{
    return std::string("reg 11 0x8300; reg 10 ") + page + "; reg 9 " + repeat +
           "; reg 20 0x0000; sleep 2; reg 9 " + end + "; reg 21 0x0000; sleep 2; ";
}

const char DarkExposure[] = "reg 3 0x0000; reg 1 0x0000; reg 2 0x0000; reg 12 0x0001; "
                            "reg 13 0x0000; progress Image downloading 0; ";
const char LineStart[] = "dma 0x10000; count 4; start 0x80000100; ";

} // namespace

// --- coprocessor ---

// 5 asks for the temperature. Word, its mode without and with the strobe (0x2000; 0x1000
// for the last word), status 30 (0x20 | 30) selected; both registers as they were.
TEST_F(Tarn5, CoprocessorTakesAWordOnAStrobe)
{
    record.Registers[0] = 0x0600;
    record.Registers[11] = 0x0305;
    Answers[19] = {0xF123};
    record.Ops.ReadTemperature(0);
    EXPECT_EQ(TakeBusLog(), "reg 14 0x0005; reg 11 0x1305; reg 11 0x3305; reg 0 0x063E; sleep 2; "
                            "read 30; reg 11 0x0305; reg 0 0x0600; read 19");
}

TEST_F(Tarn5, OnlyTheLastWordOfAnOrderIsMarked)
{
    record.Registers[11] = 0x1305;
    WriteTarn5Memory(0x11, 0x22, 0);
    const std::string end = "; reg 0 0x003E; sleep 2; read 30; reg 11 0x1305; ";
    EXPECT_EQ(TakeBusLog(), "reg 14 0x0011; reg 11 0x0305; reg 11 0x2305" + end +
                                "reg 14 0x0022; reg 11 0x0305; reg 11 0x2305" + end +
                                "reg 14 0x0001; reg 11 0x1305; reg 11 0x3305" + end +
                                "reg 0 0x0000");
}

TEST_F(Tarn5, CoprocessorIsAwaitedWithPauses)
{
    Answers[30] = std::vector<uint16_t>(1001, 0x8001);
    Answers[30].push_back(0xFFFE);
    const uint64_t start = EmuMicroseconds();
    record.Ops.SetCoolerPower(0, 0);
    EXPECT_EQ(Answers[30].size(), 1u);
    EXPECT_GE(EmuMicroseconds() - start, 1001u * 100);
}

// Its card reads as all ones, which would be busy for good.
TEST_F(Tarn5, CoprocessorOfAClosedCardIsNotAwaited)
{
    record.CardWindow = 0;
    Answers[30] = {0xFFFF};
    record.Ops.SetCoolerPower(0, 0);
    EXPECT_EQ(Orders(), "0, 3. ");
}

TEST_F(Tarn5, MemoryIsTheCoprocessors)
{
    Answers[19] = {0xBEEF};
    EXPECT_EQ(QV_ReadEP(7, 0), 0xBEEF);
    EXPECT_EQ(Orders(), "7, 2. ");
    QV_WriteEP(9, 0x1234, 0); // 4660
    EXPECT_EQ(Orders(), "9, 4660, 1. ");
}

// --- cooler, fan, temperature ---

// A 256th for each 1000 / 256 permille.
TEST_F(Tarn5, CoolerDriveHasEightBits)
{
    for (const int32_t permille : {0, 3, 4, 500, 996, 1000, 5000, -1}) {
        record.Ops.SetCoolerPower(permille, 0);
    }
    EXPECT_EQ(Orders(), "0, 3. 0, 3. 1, 3. 128, 3. 254, 3. 255, 3. 255, 3. 0, 3. ");
}

TEST_F(Tarn5, CoolerTakesTheFanAlong)
{
    record.FanLevel = 200;
    record.Ops.SetCooler(1, 0);
    EXPECT_EQ(Bus.log.front(), "reg 3 0x0080");
    EXPECT_EQ(record.Registers[3], 0x80);
    EXPECT_EQ(Orders(), "200, 4. ");
    record.Ops.SetCooler(0, 0);
    EXPECT_EQ(Bus.log.front(), "reg 3 0x0000");
    EXPECT_EQ(Orders(), "0, 4. ");
}

// 127.5 is cut; the converter's range is all that 1000 percent can have.
TEST_F(Tarn5, FanHasEightBits)
{
    QV_SetFanSpeed(50.0, 0);
    EXPECT_EQ(record.FanLevel, 127);
    QV_SetFanSpeed(1000.0, 0);
    EXPECT_EQ(record.FanLevel, 2550);
    QV_SetFanSpeed(-5.0, 0);
    EXPECT_EQ(record.FanLevel, 0);
    EXPECT_EQ(Orders(), "127, 4. 255, 4. 0, 4. ");
}

// 3500 * 0.6103515625 is 2136.2305, and that / 7.85 is 272.1313: -1.0187. 0 gives -273.15.
TEST_F(Tarn5, TemperatureComesFromTheMiddleOfEightReadings)
{
    record.TemperatureSpan[0] = 1.0;
    const uint16_t readings[] = {9, 3600, 3499, 3501, 4095, 3400, 3490};
    for (const uint16_t reading : readings) EXPECT_DOUBLE_EQ(Temperature(reading), -273.15);
    // Sorted: 9, 3400, 3490, 3499, 3501, 3502, 3600, 4095.
    EXPECT_NEAR(Temperature(3502), -1.0187, 0.0001);
    // 9 gives way: 3400, 3490, 3499, 3501, 3502 ...: (3501 + 3502) / 2 is cut to 3501,
    // which is 0.0778 (0.6103515625 / 7.85) more.
    EXPECT_NEAR(Temperature(3700), -0.9410, 0.0001);
}

TEST_F(Tarn5, TemperatureIsCalibratedByTheSubCamera)
{
    record.SubCamera = 2;
    record.TemperatureSpan[2] = 2.0;
    record.TemperatureOffset[2] = 1.0;
    for (int i = 0; i < 8; ++i) Temperature(3500);
    EXPECT_NEAR(record.CurrentTemperature, (-1.0187 + 1.0) * 2.0, 0.0002);
}

// --- front end and gain ---

// Three bits of address, twelve of value; strobe 0x100, clock 0x80, data 0x40.
TEST_F(Tarn5, FrontEndHasItsLinesInRegister0)
{
    record.Registers[0] = 0x0600;
    record.GainIndex = 1; // 38: 000100110
    EXPECT_EQ(record.Ops.SetGain(0), 0);
    ASSERT_EQ(Bus.log.size(), 46u);
    EXPECT_EQ(Bus.log[0], "reg 0 0x0700");
    EXPECT_EQ(Bus.log[1], "reg 0 0x0780");
    EXPECT_EQ(Bus.log[2], "reg 0 0x0700");
    EXPECT_EQ(Bus.log[3], "reg 0 0x0740");
    EXPECT_EQ(Bus.log[4], "reg 0 0x07C0");
    EXPECT_EQ(Bus.log[45], "reg 0 0x0600");
    EXPECT_EQ(ClockedBits(0, 0x80, 0x40), "010000000100110");
    EXPECT_EQ(record.LoadedGain, 1);
}

// 300 is 44 above; 216: 011011000.
TEST_F(Tarn5, UserGainGoesToThreeWords)
{
    QV_SetUsrGain(38, 1, 300, 0);
    EXPECT_EQ(ClockedBits(0, 0x80, 0x40), "010000000100110"
                                          "101000000101100"
                                          "000000011011000");
}

// --- sequencer ---

TEST_F(Tarn5, SequencerKeepsTheOtherBitsOfItsRegister)
{
    record.Registers[11] = 0xFFFF;
    RunTarn5Sequence(LineSection, 5, 0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 11 0xB33F; reg 10 0x0004; reg 9 0x0005; reg 20 0x0000; sleep 2; "
                            "reg 9 0x0028; reg 21 0x0000; sleep 2; reg 11 0x733F");
    EXPECT_EQ(record.Registers[11], 0xFFFF);
}

// 20 * 1000 ns * 300 is 6 ms.
TEST_F(Tarn5, SequencerPlaysOrStreams)
{
    record.WordPeriodNs = 1000;
    const std::string loaded = Loaded("0x0002", "0x012C", "0x0014");
    RunTarn5Sequence(RowSection, 300, 1, 0);
    EXPECT_EQ(TakeBusLog(), loaded + "reg 11 0x8F00; reg 11 0x8300; sleep 7");
    RunTarn5Sequence(RowSection, 300, 2, 0);
    EXPECT_EQ(TakeBusLog(), loaded + "reg 11 0x8F00; reg 11 0xC300");
    RunTarn5Sequence(RowSection, 0, 1, 0);
    EXPECT_EQ(TakeBusLog(), "");
}

// Rows of sensor and dummies, then the register twice.
TEST_F(Tarn5, ClearRunsRowsAndRegister)
{
    const std::string flush =
        Loaded("0x0003", "0x001C", "0x001E") + "reg 11 0x8F00; reg 11 0x8300; sleep 1";
    record.Ops.ClearSensor(0);
    EXPECT_EQ(TakeBusLog(), Loaded("0x0002", "0x0007", "0x0014") +
                                "reg 11 0x8F00; reg 11 0x8300; sleep 1; " + flush + "; " + flush);
    record.Ops.ClearOnce(0);
    EXPECT_EQ(TakeBusLog(), flush);
}

// One page of 16-bit words; word n is 0xA000 + n.
TEST_F(Tarn5, PatternGoesInByAddressAndWord)
{
    const std::string path = TempFolder() + "tarn5_wave.bin";
    std::vector<char> file(29, 0);
    file[1] = 1; // 256 words
    for (int word = 0; word < 256; ++word) {
        file.push_back(static_cast<char>(word));
        file.push_back('\xA0');
    }
    FILE* out = fopen(path.c_str(), "wb");
    ASSERT_NE(out, nullptr);
    fwrite(file.data(), 1, file.size(), out);
    fclose(out);
    record.Registers[11] = 0xFFFF;
    EXPECT_EQ(record.Ops.LoadSequencer(path.c_str(), 0), 1);
    remove(path.c_str());
    ASSERT_EQ(Bus.log.size(), 1 + 1 + 3 * 256 + 1 + 1u);
    EXPECT_EQ(Bus.log[0], "reg 11 0xFDFF");
    EXPECT_EQ(Bus.log[1], "progress Loading Sequencer 0");
    const std::vector<std::string> last(Bus.log.end() - 5, Bus.log.end());
    EXPECT_EQ(last, (std::vector<std::string>{"reg 9 0x00FF", "reg 8 0xA0FF", "reg 18 0x0000",
                                              "progress - 100", "reg 11 0xFF3F"}));
    EXPECT_EQ(record.Registers[11], 0xFF3F);
}

// --- exposure ---

// Units of 10 microseconds: 1000 of settling; 150000 is 0x249F0.
TEST_F(Tarn5, ExposureFollowsTheSettlingTime)
{
    record.Config.ShutterHisteresys = 10;
    record.Ops.SetShutter(1.5, 0);
    EXPECT_EQ(TakeBusLog(), "reg 1 0x03E8; reg 2 0x0000; reg 12 0x49F0; reg 13 0x0002");
    record.Config.ShutterHisteresys = 700; // 70000
    record.Ops.SetShutter(0.0, 0);
    EXPECT_EQ(TakeBusLog(), "reg 1 0x1170; reg 2 0x0001; reg 12 0x0001; reg 13 0x0000");
}

TEST_F(Tarn5, TriggerIsABitOfStatus7)
{
    Answers[7] = {0x2000, 0xDFFF};
    EXPECT_EQ(record.Ops.IsTriggered(0), 1);
    EXPECT_EQ(record.Ops.IsTriggered(0), 0);
}

// --- reads ---

// The stream is left; seven lines are armed, the card is started and its link made
// ready, and only then is there an exposure.
TEST_F(Tarn5, FrameIsArmedAheadOfTheExposure)
{
    EXPECT_EQ(record.Ops.ReadFrame(0, Width, Height, frame.data(), 0), 0);
    std::string lines;
    for (int line = 1; line < 7; ++line) lines += LineStart;
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0010; " + Loaded("0x0004", "0x0007", "0x0028") +
                                "reg 11 0x4300; " + LineStart + "reset link; " + DarkExposure +
                                lines + "progress - 100; control 0x0000; reg 11 0x0000");
    ExpectRun(Width * Height, 16); // lines 2 to 5
}

TEST_F(Tarn5, BufferThatCannotGrowIsAnErrorAndNothingIsMoved)
{
    for (const uint32_t options : {0u, uint32_t{OptionCardDma}}) {
        Open(options);
        PlugFakeCard(4);
        EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), 0), 9);
        EXPECT_EQ(record.Ops.ReadWindow(1, 0, 1, Width, 2, frame.data(), 0), 9);
        EXPECT_EQ(TakeBusLog(), "");
        ExpectRun(0, 0);
    }
}

// 28 words of 32 bits; one line and four words ahead.
TEST_F(Tarn5, WholeFrameComesAtOnce)
{
    Open(OptionCardDma);
    EXPECT_EQ(record.Ops.ReadFrame(0, Width, Height, frame.data(), 0), 0);
    EXPECT_EQ(TakeBusLog(), "reg 0 0x0010; " + Loaded("0x0004", "0x0007", "0x0028") +
                                "reg 11 0x4300; dma 0x10000; count 28; start 0x80000100; "
                                "reset link; " +
                                DarkExposure +
                                "progress - 100; progress - 100; control 0x0000; reg 11 0x0000");
    ExpectRun(Width * Height, 12);
}

// Two rows are skipped, that of the window and half of the dummies.
TEST_F(Tarn5, WindowIsStartedBehindTheExposure)
{
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, Width, 2, frame.data(), 0), 0);
    EXPECT_EQ(TakeBusLog(),
              std::string("reg 0 0x0010; ") + DarkExposure + Loaded("0x0002", "0x0002", "0x0014") +
                  "reg 11 0x8F00; reg 11 0x8300; sleep 1; " + Loaded("0x0003", "0x001C", "0x001E") +
                  "reg 11 0x8F00; reg 11 0x8300; sleep 1; " + LineStart +
                  Loaded("0x0004", "0x0002", "0x0028") +
                  "reg 11 0x8F00; reg 11 0xC300; reset link; " + LineStart +
                  "progress - 100; control 0x0000; reg 11 0x0000");
    ExpectRun(2 * Width, 0);
}

// Sixteen words are moved: the last four pixels stay empty.
TEST_F(Tarn5, WholeWindowDropsFourWords)
{
    Open(OptionCardDma);
    EXPECT_EQ(record.Ops.ReadWindow(0, 3, 1, Width, 2, frame.data(), 0), 0);
    std::fill(frame.begin() + 2 * Width - 4, frame.begin() + 2 * Width, Untouched);
    ExpectRun(2 * Width - 4, 4);
}

TEST_F(Tarn5, TriggerIsAwaitedWithTheCardStarted)
{
    StoreFlag(&record.Options, uint32_t{OptionExternalTrigger | OptionKeepClean});
    Answers[7] = {0, 0x2000};
    EXPECT_EQ(record.Ops.ReadFrame(1, Width, Height, frame.data(), 0), 0);
    const std::string log = TakeBusLog();
    const std::string waiting = std::string("reg 11 0x4300; ") + LineStart +
                                "read 7; read 7; reset link; reg 3 0x0004; reg 1 ";
    EXPECT_NE(log.find(waiting), std::string::npos) << log;
    EXPECT_LT(log.find("reg 10 0x0002"), log.find(waiting)) << "cleared first";
}

TEST_F(Tarn5, StalledLineIsALinkFailure)
{
    Bus.dmaStall = 1;
    EXPECT_EQ(record.Ops.ReadFrame(0, Width, Height, frame.data(), 0), 2);
    EXPECT_EQ(Bus.log.back(), "reg 11 0x0000");
    ExpectRun(0, 0);
}

// --- open and wire ---

// 10 MHz of 1 microsecond / 2 - 1 is 4. The last word of the test is 13.
TEST_F(Tarn5, OpenTestsAndProgramsTheCamera)
{
    record.Platform.FpgaId = 0x5A;
    Answers = {{31, {0x5A}}, {19, {4369, 25, 12}}};
    EXPECT_EQ(StartTarn5({.register6 = 6, .register7 = 7, .settleMs = 10}, 0, 0), 0);
    const std::string log = TakeBusLog();
    EXPECT_EQ(log.rfind("read 31; reg 14 0x5555; ", 0), 0u) << log;
    EXPECT_NE(log.find("reg 14 0x000D; reg 11 0x1000; reg 11 0x3000; reg 0 0x003E; sleep 2; read "
                       "30; reg 11 0x0000; reg 0 0x0000; read 19; reg 3 0x0000; reg 14 0x0000"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("reg 15 0x0004; sleep 10; reg 6 0x0006; reg 7 0x0007; reg 0 0x0100"),
              std::string::npos)
        << log;
    EXPECT_EQ(record.FanLevel, 4095);
    EXPECT_EQ(record.LineSkew, 0);
}

TEST_F(Tarn5, OpenSendsTheElevenWordsAndThreeOfTheFrontEnd)
{
    Answers = {{19, {4369}}};
    EXPECT_EQ(StartTarn5({}, 1, 0), 0);
    // 216, 64 and 256 in words 0, 1 and 5.
    EXPECT_EQ(ClockedBits(0, 0x80, 0x40), "000000011011000"
                                          "001000001000000"
                                          "101000100000000");
    EXPECT_EQ(Orders(), "21845, 43690, 65535, 0, 65280, 255, 4369, 8738, 17476, 34952, 13. "
                        "255, 4. ");
}

TEST_F(Tarn5, OpenFailsWithoutVersionOrCoprocessor)
{
    record.Platform.FpgaId = 0x5A;
    Answers = {{31, {0x5B}}};
    EXPECT_EQ(StartTarn5({}, 0, 0), 1);
    EXPECT_EQ(TakeBusLog(), "read 31");
    Answers = {{31, {0x5A}}, {19, {4368}}};
    EXPECT_EQ(StartTarn5({}, 0, 0), 24);
    EXPECT_EQ(Bus.log.back(), "read 19");
}

// The definition's field is signed, the register is not.
TEST_F(Tarn5, VersionHasSixteenBits)
{
    record.Platform.FpgaId = -32767;
    Answers = {{31, {0x8001}}, {19, {4369}}};
    EXPECT_EQ(StartTarn5({}, 0, 0), 0);
}

// What is below 1 is raised to 2.
TEST_F(Tarn5, DividerIsCutAndAtLeastTwo)
{
    Answers = {{19, {4369}}};
    record.Platform.TimeBase = 7.8; // 2.9
    StartTarn5({}, 0, 0);
    EXPECT_EQ(record.Registers[15], 2);
    record.Platform.TimeBase = 9.9; // 3.95
    StartTarn5({}, 0, 0);
    EXPECT_EQ(record.Registers[15], 3);
    record.Platform.TimeBase = 4.0; // 1
    StartTarn5({}, 0, 0);
    EXPECT_EQ(record.Registers[15], 1);
    record.Platform.TimeBase = 3.8; // 0.9
    StartTarn5({}, 0, 0);
    EXPECT_EQ(record.Registers[15], 2);
}

// An address cycle (0x4) with the bare number, then a data cycle with the word twice; the
// read cycle (0x2) under register 0 with 0x20 and the number.
TEST_F(Tarn5, RegistersHaveNoAddressMap)
{
    record.Ops.WriteRegister = Tarn5BusOps.WriteRegister;
    record.Ops.ReadRegister = Tarn5BusOps.ReadRegister;
    Bus.control = 0x40C2;
    record.Ops.WriteRegister(21, 0x1BEEF, 0);
    EXPECT_EQ(TakeBusLog(), "operand 0x0015; control 0x40C4; operand 0xBEEF; operand 0xBEEF; "
                            "control 0x40C0");
    record.Registers[0] = 0x1234; // 0x1200 without the number's bits
    record.Ops.ReadRegister(19, 0);
    EXPECT_EQ(TakeBusLog(), "operand 0x0000; control 0x40C4; operand 0x1233; operand 0x1233; "
                            "control 0x40C0; control 0x40C2");
    EXPECT_EQ(record.Registers[0], 0x1234);
}

TEST_F(Tarn5, BusHasNeitherMemoryNorStatusOperations)
{
    EXPECT_EQ(Tarn5BusOps.Peek, NoPeek);
    EXPECT_EQ(Tarn5BusOps.PokeW, NoPoke);
    EXPECT_EQ(Tarn5Ops.ReadStatus, NoReadStatus);
    EXPECT_EQ(Tarn5Ops.WriteAddress, NoWriteAddress);
    EXPECT_EQ(Tarn5Ops.ReadData, NoReadData);
    EXPECT_EQ(Tarn5Ops.WaitReady, NoResult);
}

// What the open over one link has bound the open over the other takes back.
TEST_F(Tarn5, EachLinkHasItsOwnSlotsAndExtras)
{
    record.InterfaceType = InterfaceUsb;
    BindOperations(28, 0, 0);
    EXPECT_EQ(record.Ops.OpenCamera, Tarn5UsbOps.OpenCamera);
    EXPECT_EQ(record.Ops.ReadFrame, Tarn5UsbOps.ReadFrame);
    EXPECT_EQ(record.Ops.ClearOnce, NoOperation);
    EXPECT_EQ(record.Ops.IsTriggered, NoResult);
    EXPECT_EQ(record.Extras, &Tarn5UsbExtras);
    record.InterfaceType = InterfaceCard2;
    BindOperations(28, 0, 0);
    EXPECT_EQ(record.Ops.OpenCamera, Tarn5BusOps.OpenCamera);
    EXPECT_EQ(record.Ops.ReadFrame, Tarn5BusLineOps.ReadFrame);
    EXPECT_EQ(record.Ops.PeekW, NoPeek);
    EXPECT_EQ(record.Ops.ClearOnce, Tarn5Ops.ClearOnce);
    EXPECT_EQ(record.Ops.IsTriggered, Tarn5Ops.IsTriggered);
    EXPECT_EQ(record.Extras, &Tarn5Extras);
}
