// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EXPECTED_PULSES_H
#define HNIPC_TESTS_EXPECTED_PULSES_H

namespace Expected {

// A signal of a daemon and the operation that sends its own parameters with it.
struct Pulse
{
    const char *slot;
    const char *member;
    const char *signature; // wire signature of the signal's body
};

const Pulse ioexpdPulses[] = {
    { "pulseCancelButtonSignal", "IOEXPD_CancelButton", "" },
    { "pulseHelpButtonSignal", "IOEXPD_HelpButton", "" },
    { "pulsePrintButtonSignal", "IOEXPD_PrintButton", "" },
};

const Pulse m4Pulses[] = {
    { "pulseM4Tph2FaultSignal", "M4_M4Tph2Fault", "" },
    { "pulseM4Tph1FaultSignal", "M4_M4Tph1Fault", "" },
    { "pulseM4PrintDoneSignal", "M4_M4PrintDone", "" },
    { "pulseM4TachIndexSignal", "M4_M4TachIndex", "ii" },
    { "pulseM4TphHeatIndexOffsetSignal", "M4_M4TphHeatIndexOffset", "ii" },
    { "pulseM4TphThermSignal", "M4_M4TphTherm", "ii" },
    { "pulseM4UserSettingSignal", "M4_M4UserSetting", "ii" },
    { "pulseM4TachValuesSignal", "M4_M4TachValues", "s" },
    { "pulsePrintQueueCompleteSignal", "M4_PrintQueueComplete", "i" },
    { "pulsePrintQueueClearSignal", "M4_PrintQueueClear", "i" },
    { "pulsePrintQueueFullSignal", "M4_PrintQueueFull", "i" },
    { "pulseAlertSignal", "M4_Alert", "i" },
    { "pulseErrorSignal", "M4_Error", "i" },
    { "pulseM4BatteryUpdateSignal", "M4_M4BatteryUpdate", "i" },
    { "pulseM4SupplyMileageSignal", "M4_M4SupplyMileage", "i" },
    { "pulseM4Ribbon2MileageSignal", "M4_M4Ribbon2Mileage", "i" },
    { "pulseM4Ribbon1MileageSignal", "M4_M4Ribbon1Mileage", "i" },
    { "pulseM4Ribbon2UIDSignal", "M4_M4Ribbon2UID", "s" },
    { "pulseM4Ribbon1UIDSignal", "M4_M4Ribbon1UID", "s" },
    { "pulseM4SupplyUIDSignal", "M4_M4SupplyUID", "s" },
    { "pulseM4RibbonIDsSignal", "M4_M4RibbonIDs", "as" },
    { "pulseM4SupplyIDSignal", "M4_M4SupplyID", "s" },
    { "pulseM4RibbonVerify2Signal", "M4_M4RibbonVerify2", "t" },
    { "pulseM4RibbonVerify1Signal", "M4_M4RibbonVerify1", "t" },
    { "pulseM4Film4TachSignal", "M4_M4Film4Tach", "u" },
    { "pulseM4Film3TachSignal", "M4_M4Film3Tach", "u" },
    { "pulseM4Film2TachSignal", "M4_M4Film2Tach", "u" },
    { "pulseM4Film1TachSignal", "M4_M4Film1Tach", "u" },
    { "pulseM4SupplyLatchSignal", "M4_M4SupplyLatch", "b" },
    { "pulseM4SupplySensorSignal", "M4_M4SupplySensor", "u" },
    { "pulseM4PrinterLidSignal", "M4_M4PrinterLid", "b" },
    { "pulseM4CutterHomeSignal", "M4_M4CutterHome", "b" },
    { "pulseM4CutterCoverSignal", "M4_M4CutterCover", "b" },
    { "pulseM4RibbonEnc4Signal", "M4_M4RibbonEnc4", "u" },
    { "pulseM4RibbonEnc3Signal", "M4_M4RibbonEnc3", "u" },
    { "pulseM4RibbonEnc2Signal", "M4_M4RibbonEnc2", "u" },
    { "pulseM4RibbonEnc1Signal", "M4_M4RibbonEnc1", "u" },
    { "pulseM4RibbonClr2Signal", "M4_M4RibbonClr2", "u" },
    { "pulseM4RibbonClr1Signal", "M4_M4RibbonClr1", "u" },
    { "pulseM4PreCutterSignal", "M4_M4PreCutter", "u" },
    { "pulseM4GapSignal", "M4_M4Gap", "u" },
    { "pulseM4BMarkSignal", "M4_M4BMark", "u" },
    { "pulseM4Dac0Signal", "M4_M4Dac0", "u" },
    { "pulseM4VersionSignal", "M4_M4Version", "s" },
    { "pulseM4MessageSentSignal", "M4_M4MessageSent", "s" },
    { "pulseM4MessageReceivedSignal", "M4_M4MessageReceived", "s" },
};

const Pulse supplydPulses[] = {
    { "pulseHNIPCReadySignal", "SUPPLYD_HNIPCReady", "" },
    { "pulseRibbon2RGBsChangedSignal", "SUPPLYD_Ribbon2RGBsChanged", "as" },
    { "pulseRibbon1RGBsChangedSignal", "SUPPLYD_Ribbon1RGBsChanged", "as" },
    { "pulseSupplyRGBChangedSignal", "SUPPLYD_SupplyRGBChanged", "s" },
    { "pulseRibbon2PercentChangedSignal", "SUPPLYD_Ribbon2PercentChanged", "d" },
    { "pulseRibbon1PercentChangedSignal", "SUPPLYD_Ribbon1PercentChanged", "d" },
    { "pulseSupplyPercentChangedSignal", "SUPPLYD_SupplyPercentChanged", "d" },
    { "pulseRibbonChangedSignal", "SUPPLYD_RibbonChanged", "ass" },
    { "pulseSupplyChangedSignal", "SUPPLYD_SupplyChanged", "ss" },
};

} // namespace Expected

#endif
