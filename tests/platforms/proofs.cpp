#include "tests/platforms/proofs.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

namespace {

// clang-format off
const std::vector<Proof> All = {
    // camera table and status
    {"QV_Status", "acquisition", "SingleExposure.LinkFailureKeepsTheTimerOff"},
    {"QV_ErrorMessage", "core", "ErrorModel.EveryCodeHasItsText"},
    {"QV_ErrorMessageVB", "core", "ErrorModel.CopyingFormGivesTheSameTextsAndReturnsTheBuffer"},
    {"QV_Ver", "core", "CameraState.VersionTextHoldsBuildDateAndTime"},
    {"QV_WDVer", "core", "DriverVersion.ClosedCameraOpensTheDriverForTheQuery"},
    {"QV_MaxNumbers", "core", "OpenCamera.LargestPixelValueComesFromTheLowByteAndSaturates"},
    {"QV_SetPathName", "core", "LibraryFolder.NameWithoutASlashGetsOne"},
    {"QV_Delay", "core", "CameraState.DelaySleepsTheCaller"},
    {"QV_IsOn", "cameras", "Selection.OpensReadsCoolsAndCloses"},
    {"QV_GetMode", "core", "CameraState.ModeBitsAreSetAndClearedAndTheNewWordReturned"},
    {"QV_SetMode", "core", "CameraState.ModeBitsAreSetAndClearedAndTheNewWordReturned"},
    {"QV_BrkFlg", "acquisition", "SingleExposure.BreakEndsTheExposureAndTheFrameIsRead"},
    {"QV_BckGnd", "timer", "TimerJoining.OpenReturnsAfterTheFirstWorkTurn"},
    {"QV_BckBusy", "timer", "TimerTurns.LengthOfTheWorkTurnIsKept"},
    {"QV_RWData", "core", "BlockCopies.DefinitionsGoOutAndIn"},
    {"QV_SetKZBPCI", "links", "CardTest.LooksForTheChosenCard"},
    {"QV_InitCfg", "core", "CameraState.ConfigurationDefaultsLeaveFourFieldsAlone"},
    {"QV_InitOptions", "core", "CameraState.InitOptionsCopiesTheWholeConfiguration"},

    // open, close, selection
    {"QV_LibraryInit", "core", "LibraryStart.FolderQvnBelowTheWorkingDirectoryIsUsed"},
    {"QV_Open", "cameras", "Selection.OpensReadsCoolsAndCloses"},
    {"QV_Open", "cameras", "UsbSelection.OpensReadsCoolsAndCloses"},
    {"_QV_Open", "core", "OpenCamera.OpenWithoutCallbacksReadsNormally"},
    {"QV_OpenByConfig", "core", "OpenCamera.ConfigurationKeepsItsShutterSettlingTime"},
    {"QV_OpenByFile", "core", "OpenCamera.FileOpensTheCameraThatItNames"},
    {"_QV_OpenByFile", "core", "OpenCamera.FileWithoutCallbacks"},
    {"QV_OpenPar", "catalogue", "DefinitionFile.OpenParLoadsBothAndClearsTheError"},
    {"QV_Close", "cameras", "Selection.OpensReadsCoolsAndCloses"},
    {"QV_Close", "cameras", "UsbSelection.OpensReadsCoolsAndCloses"},
    {"QV_Select", "acquisition", "Array.SelectionSwitchesTheHardwareBetweenTwoRegulators"},
    {"QV_SubSelect", "cameras", "ServiceCalls.SubCameraChoosesTheCalibration"},
    {"QV_StopNow", "timer", "StopHandshake.StopPollsEveryFiveMillisecondsUntilTheNextTick"},
    {"QV_StartNow", "timer", "StopHandshake.StartRepairsACountBelowZeroWithService"},
    {"QV_SetFunction", "core", "SlotTable.ExposureCallbackIsReplacedAtOnce"},
    {"QV_ClearCCD", "traffic", "TrafficOf.Clear"},
    {"QV_ClearCCD", "traffic", "UsbTrafficOf.Clear"},

    // catalogue and geometry
    {"QV_CamQuery", "catalogue", "CatalogueQueries.CamQueryCopiesThePlatformsAndNoMore"},
    {"QV_CCDQuery", "catalogue", "CatalogueQueries.CCDQueryAnswersForPlatform45AsFor44"},
    {"QV_CCDtoName", "catalogue", "CatalogueQueries.CCDtoNameStoresTheFamily"},
    {"QV_CCDtoNameVB", "catalogue", "CatalogueQueries.VariantsWithABufferCopyAndReturnIt"},
    {"QV_PTFtoName", "catalogue", "CatalogueQueries.PTFtoNameStoresTheShortCode"},
    {"QV_PTFtoNameVB", "catalogue", "CatalogueQueries.VariantsWithABufferCopyAndReturnIt"},
    {"QV_FamtoName", "catalogue", "CatalogueQueries.FamilyFiveAfterFamily20ReadsAsKodak"},
    {"QV_FamtoNameVB", "catalogue", "CatalogueQueries.VariantsWithABufferCopyAndReturnIt"},
    {"QV_PtfName", "catalogue", "CatalogueQueries.PtfNameLooksPlatformAndSensorUpCrossed"},
    {"QV_PtfNameVB", "catalogue", "CatalogueQueries.VariantsWithABufferCopyAndReturnIt"},
    {"QV_GetDimX", "catalogue", "CatalogueQueries.GetDimGivesTheWindowWithAnEvenWidth"},
    {"QV_GetDimY", "catalogue", "CatalogueQueries.GetDimGivesTheWindowWithAnEvenWidth"},
    {"QV_GetCCDX", "catalogue", "CatalogueQueries.GetCCDXOfASensorWith1023ColumnsGives1022"},
    {"QV_GetCCDY", "catalogue", "CatalogueQueries.GetCCDXOfASensorWith1023ColumnsGives1022"},
    {"QV_GetCCDdata", "catalogue", "CatalogueQueries.GetCCDdataCopiesTheSensor"},
    {"QV_GetHPdata", "catalogue", "CatalogueQueries.GetHPdataCopiesThePlatformWithItsSpare"},

    // files
    {"QV_LoadCCD", "catalogue", "DefinitionFile.LoadCCDStoresEveryKey"},
    {"QV_SaveCCD", "catalogue", "DefinitionFile.SaveWritesEveryKeyOfASensor"},
    {"QV_LoadPlatform", "catalogue", "DefinitionFile.LoadPlatformStoresEveryKeyButTheSpare"},
    {"QV_SavePlatform", "catalogue", "DefinitionFile.SaveWritesEveryKeyOfAPlatform"},
    {"QV_LoadCameraConfig", "catalogue", "CameraConfigFile.LoadStoresEveryKey"},
    {"QV_SaveCameraConfig", "catalogue", "CameraConfigFile.SaveThenLoadGivesTheSameRecordWithAnEmptyDefectiveList"},

    // single exposures
    {"QV_GetCCD", "acquisition", "SingleExposure.FullFrameIsReadIntoTheCallersBuffer"},
    {"QV_GetCCD", "traffic", "UsbTrafficOf.LightAndDarkFrame"},
    {"QV_FGetCCD", "acquisition", "SingleExposure.FastFormsLeaveTheHandshakeToTheHost"},
    {"QV_FGetCCD", "cameras", "ServiceCalls.FastFramesAreThoseOfOthers"},
    {"QV_TGetCCD", "cameras", "VirtualCameraTest.ABinnedFrameBehindAWindowIsSheared"},
    {"QV_GetWinCCD", "acquisition", "SingleExposure.OddWindowIsStoredOddAndReadEven"},
    {"QV_GetWinCCD", "cameras", "VirtualCameraTest.AWindowByPixelsSkipsAllDummyLines"},
    {"QV_FGetWinCCD", "acquisition", "SingleExposure.FastFormsLeaveTheHandshakeToTheHost"},
    {"QV_FGetWinCCD", "cameras", "ServiceCalls.FastFramesAreThoseOfOthers"},
    {"QV_GetCCDPulsed", "acquisition", "SingleExposure.PulsedFrameMakesUpThePeriodWithSettlingTime"},
    {"QV_GetCCDPulsed", "cameras", "ServiceCalls.PulsedFramesAreThoseOfOthersAndTakeThePeriod"},
    {"QV_GetWinCCDPulsed", "acquisition", "SingleExposure.PulsedFrameMakesUpThePeriodWithSettlingTime"},
    {"QV_GetWinCCDPulsed", "cameras", "ServiceCalls.PulsedFramesAreThoseOfOthersAndTakeThePeriod"},
    {"QV_Matrix", "acquisition", "InternalBuffers.AllocationTakesTheFirstFreeEntryAndMakesItCurrent"},
    {"QV_MatrixPointer", "acquisition", "InternalBuffers.FrameGoesToTheInternalBufferWithTheOption"},
    {"QV_MatrixSet", "acquisition", "InternalBuffers.NullBufferStandsForTheCurrentOne"},
    {"QV_MatrixGet", "acquisition", "InternalBuffers.FrameGoesToTheInternalBufferWithTheOption"},
    {"QV_MatrixRead", "acquisition", "InternalBuffers.PixelIsReadAtItsRowMajorPosition"},
    {"QV_MatrixSize", "acquisition", "InternalBuffers.SizeIsReckonedFromLeftToRight"},

    // series, frames in steps, arrays
    {"QV_Kinetics", "cameras", "BusSeries.FillsItsBuffersAndPutsTheDummyLinesBack"},
    {"QV_Kinetics", "cameras", "UsbSeries.FillsItsBuffersAndPutsTheDummyLinesBack"},
    {"QV_KineticsCCD", "cameras", "SlitSeries.LiesSideBySideInOneFrame"},
    {"QV_KineticsCCD", "cameras", "UsbSeries.InTheSensorIsAFrameBehindItsIntervals"},
    {"QV_ArmAcquisition", "drivers", "ArmedFrame.ArmingLoadsBothTimersOf47"},
    {"QV_StartAcquisition", "cameras", "ArmedFrames.AreStartedAndPickedUpLater"},
    {"QV_GetImage", "cameras", "ArmedFrames.AreStartedAndPickedUpLater"},
    {"QV_FlushAcquisition", "cameras", "ArmedFrames.GivenUpLeaveCountAndRegisterAtRest"},
    {"QV_ArmTimerHandle", "timer", "DirectTimer.NothingTicksAfterDisarmingUntilTheHostStartsIt"},
    {"QV_OpenArray", "cameras", "ArrayOn.ExposesEightHeadsTogetherAndReadsEach"},
    {"QV_AGetCCD", "cameras", "ArrayOn.ExposesEightHeadsTogetherAndReadsEach"},

    // image correction
    {"QV_SetDNR", "cameras", "ServiceCalls.NoiseReductionOfTarn4PlusIsInTwoRegisters"},
    {"QV_SetDNR", "cameras", "ServiceCalls.NoiseReductionOfR3PlusIsInTwoRegisters"},
    {"QV_GetDNR", "cameras", "ServiceCalls.NoiseReductionOfTarn4PlusIsInTwoRegisters"},
    {"QV_SetBitDecimation", "cameras", "ServiceCalls.DecimationOfTarn5LeavesItReading"},
    {"QV_SetBitDecimation", "traffic", "UsbSettingsTraffic.Settings"},

    // temperature
    {"QV_SetTemp", "devices", "Regulator.HoursOfCoolingRunInTheBackground"},
    {"QV_SetTemp", "traffic", "UsbTrafficOf.Cooler"},
    {"QV_GetTemp", "devices", "TemperatureText.IsInTheUnitsAskedFor"},
    {"QV_ReadTemp", "cameras", "VirtualBriar.TemperatureIsTheSensors"},
    {"QV_ReadTemp", "traffic", "UsbTrafficOf.Temperature"},
    {"QV_Cooler", "traffic", "TrafficOf.Cooler"},
    {"QV_Cooler", "traffic", "UsbTrafficOf.Cooler"},
    {"QV_CoolerStatus", "devices", "Regulator.StatusIs3AtTheTargetAnd2Elsewhere"},
    {"QV_SetPower", "cameras", "VirtualBriar.CoolerRunsOnWhileTheLibraryIsAway"},
    {"QV_GetPower", "devices", "CoolerDrive.IsCutToTenthsOfAPercent"},
    {"QV_TempCalib", "cameras", "ServiceCalls.SubCameraChoosesTheCalibration"},
    {"QV_TemperatureHandle", "devices", "TemperatureHistory.KeepsReadingsInTheirOrder"},
    {"QV_GetTempHistory", "devices", "TemperatureHistory.KeepsReadingsInTheirOrder"},
    {"QV_CheckTempEquil", "devices", "TemperatureEquilibrium.BothLimitsCountAsInside"},

    // shutter and trigger
    {"QV_Shutter", "traffic", "TrafficOf.Shutter"},
    {"QV_Shutter", "traffic", "UsbTrafficOf.Shutter"},
    {"QV_ShutterControl", "cameras", "ServiceCalls.ShutterIsHeldAndReleased"},
    {"QV_ShutterControl", "devices", "ShutterCalls.HoldAndReleaseOnPlatform25"},
    {"QV_Trigger", "devices", "TriggerInput.WaitHasNoLimitAndEndsWithTheTrigger"},
    {"QV_Trigger", "traffic", "UsbTriggerTraffic.ClearedAndTriggeredFrame"},
    {"QV_Trigger", "cameras", "ServiceCalls.StatusWordsAreTheCameras"},

    // filter wheel, objective, plug-in device
    {"QV_SetFilter", "accessories", "PhaseStepper.MovesOnEachOfItsPlatforms"},
    {"QV_SetFilter", "accessories", "LineStepper.OfSixPositionsCarriesWhatIsLeftUpwards"},
    {"QV_SetFilter", "accessories", "ControllerRoute.GoesToAPosition"},
    {"QV_SetFilter", "accessories", "R4Wheel.GoesToAPositionAndAnswers"},
    {"QV_SetFilter", "accessories", "TolmWheel.GoesToAPosition"},
    {"QV_CalibFW", "accessories", "PhaseStepper.FindsTheZeroMarkFromAbove"},
    {"QV_CalibFW", "accessories", "LineStepper.OffsetIsMadeTwice"},
    {"QV_CalibFW", "accessories", "ControllerRoute.GoesToZero"},
    {"QV_CalibFW", "accessories", "TolmWheel.GoesToZero"},
    {"QV_OpenFW", "accessories", "PhaseStepper.OpenOfAWheelWithoutItsMarkIsAnError"},
    {"QV_OpenFW", "accessories", "ControllerRoute.IsOpenedWithItsValues"},
    {"QV_OpenFW", "accessories", "TolmWheel.IsOpenedWithItsValues"},
    {"QV_SetFW", "accessories", "ControllerRoute.TakesItsValues"},
    {"QV_SetFW", "accessories", "R4Wheel.ZeroComesWithTheStoredOffset"},
    {"QV_IsThereFW", "accessories", "ControllerRoute.KindIsThatOfTheConfiguration"},
    {"QV_ObjectiveControl", "accessories", "Objective.RunsAMotorToItsEnd"},
    {"QV_ObjectiveControl", "accessories", "Objective.JogsAMotorAndBrakes"},
    {"QV_Plug", "accessories", "PlugIn.TakesFourNumbersLessTwoBytes"},
    {"QV_Plug", "accessories", "PlugIn.OfTarnUTakesACommandAndAWord"},

    // gain, binning, fan
    {"QV_SetBinning", "devices", "Binning.RebuildsTheFullFrameWithAnEvenWidth"},
    {"QV_SetBinning", "cameras", "ReadoutForms.ByLinesTheFirstRowLosesItsLastSixPixels"},
    {"QV_GetBinning", "devices", "Binning.IsReadBack"},
    {"QV_SetGain", "traffic", "TrafficOf.Gain"},
    {"QV_SetGain", "traffic", "UsbTrafficOf.Gain"},
    {"QV_GetGain", "devices", "Gain.IsProgrammedAndReadBack"},
    {"QV_SetUsrGain", "traffic", "TrafficOf.Gain"},
    {"QV_SetUsrGain", "traffic", "UsbTrafficOf.Gain"},
    {"QV_SetFanSpeed", "traffic", "UsbTrafficOf.Cooler"},

    // interface card
    {"QV_GetKZBPCIAddress", "links", "CardTest.OpensInTheDriversOrder"},
    {"QV_GetKZBPCIRevision", "links", "CardTest.RevisionIsTheLow16Bits"},

    // camera memory, serial number, registers
    {"QV_ReadEP", "devices", "CameraWords.AreThoseOfTheEepromOnTheBus"},
    {"QV_ReadEP", "traffic", "UsbTrafficOf.Memory"},
    {"QV_WriteEP", "devices", "CameraWords.AreThoseOfTheEepromOnTheBus"},
    {"QV_WriteEP", "traffic", "UsbTrafficOf.Memory"},
    {"QV_GetSerNum", "bench", "VirtualWorld.SerialNumbersAreInMemoryOrInTheDevicesStrings"},
    {"QV_SetSerNum", "cameras", "VirtualTarn5.MemoryHoldsTheSerialNumber"},
    {"QV_WRReg", "cameras", "ServiceCalls.RegisterIsWrittenWhereItsImageIsNot"},
    {"QV_WRReg", "traffic", "TrafficOfTheCard.RegisterOverTheByteCable"},
    {"QV_RDReg", "traffic", "TrafficOfTheCard.RegisterOverTheByteCable"},
    {"QV_RMReg", "cameras", "ServiceCalls.RegisterIsWrittenWhereItsImageIsNot"},
    {"QV_WMReg", "cameras", "ServiceCalls.RegisterIsWrittenWhereItsImageIsNot"},
    {"QV_GetStatus", "cameras", "ServiceCalls.StatusWordsAreTheCameras"},
    {"QV_Poke", "drivers", "HeronPlus.MemoryHasBytes"},
    {"QV_Poke", "cameras", "ServiceCalls.PatternMemoryIsReadAndWritten"},
    {"QV_Poke", "drivers", "Tarn5Usb.PatternMemoryHasWords"},
    {"QV_Peek", "drivers", "Osprey.MemoryHasWords"},
    {"QV_Peek", "cameras", "ServiceCalls.PatternMemoryIsReadAndWritten"},
    {"QV_PokeW", "drivers", "Osprey.MemoryHasWords"},
    {"QV_PokeW", "cameras", "ServiceCalls.PatternMemoryIsReadAndWritten"},
    {"QV_PeekW", "drivers", "HeronPlus.MemoryHasBytes"},
    {"QV_PeekW", "cameras", "ServiceCalls.PatternMemoryIsReadAndWritten"},
    {"QV_QuerySts", "drivers", "QueryStatus.TransferIsOnWhileTheCardCounts"},
    {"QV_QuerySts", "cameras", "ServiceCalls.PowerAndTransferAreAskedFor"},
    {"QV_GetAD", "drivers", "OspreyPlus.AnalogInputsAreRead"},
};
// clang-format on

// The tests of a source by name; "" is all that stands outside of them.
using Bodies = std::map<std::string, std::string>;

Bodies BodiesOf(const std::filesystem::path& source)
{
    static const std::regex begin(R"(^TEST(_F|_P)?\((\w+), (\w+)\)$)");
    Bodies bodies;
    std::string name, line;
    for (std::ifstream file(source); std::getline(file, line);) {
        std::smatch match;
        if (std::regex_match(line, match, begin)) name = match[2].str() + "." + match[3].str();
        bodies[name] += line + "\n";
        if (line == "}") name.clear();
    }
    return bodies;
}

const std::vector<Bodies>& SourcesOf(const std::string& folder)
{
    static std::map<std::string, std::vector<Bodies>> known;
    std::vector<Bodies>& sources = known[folder];
    if (!sources.empty()) return sources;
    const std::filesystem::path tests = std::filesystem::path(QVN_SOURCE_DIR) / "tests" / folder;
    if (!std::filesystem::exists(tests)) return sources;
    for (const auto& entry : std::filesystem::directory_iterator(tests)) {
        if (entry.path().extension() == ".cpp") sources.push_back(BodiesOf(entry.path()));
    }
    return sources;
}

// By its exported name, or by the routine's of the same name behind it.
bool HasCall(const std::string& text, const std::string& function)
{
    const size_t prefix = function.find("QV_") + 3;
    const std::string routine = function[0] == '_' ? function : function.substr(prefix);
    for (const std::string& name : {function, routine}) {
        for (size_t at = text.find(name + "("); at != std::string::npos;
             at = text.find(name + "(", at + 1)) {
            const char before = at == 0 ? ' ' : text[at - 1];
            if (isalnum(before) == 0 && before != '_' && before != '.' && before != '>')
                return true;
        }
    }
    return false;
}

} // namespace

const std::vector<Proof>& Proofs()
{
    return All;
}

bool IsShown(const Proof& proof)
{
    for (const Bodies& bodies : SourcesOf(proof.folder)) {
        const auto test = bodies.find(proof.test);
        if (test == bodies.end()) continue;
        const auto helpers = bodies.find("");
        return HasCall(test->second, proof.function) ||
               (helpers != bodies.end() && HasCall(helpers->second, proof.function));
    }
    return false;
}
