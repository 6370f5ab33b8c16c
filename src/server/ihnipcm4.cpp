// SPDX-License-Identifier: MIT
#include <hnipc/ihnipcm4.h>

#include "server/pulse_p.h"

// A table, one signal a row.
// clang-format off

bool IHNIPCM4::pulseM4MessageReceivedSignal(const QString &value)
{ return pulse(this, "M4_M4MessageReceived", value); }
bool IHNIPCM4::pulseM4MessageSentSignal(const QString &value)
{ return pulse(this, "M4_M4MessageSent", value); }
bool IHNIPCM4::pulseM4VersionSignal(const QString &value)
{ return pulse(this, "M4_M4Version", value); }
bool IHNIPCM4::pulseM4Dac0Signal(const quint32 &value) { return pulse(this, "M4_M4Dac0", value); }
bool IHNIPCM4::pulseM4BMarkSignal(const quint32 &value) { return pulse(this, "M4_M4BMark", value); }
bool IHNIPCM4::pulseM4GapSignal(const quint32 &value) { return pulse(this, "M4_M4Gap", value); }
bool IHNIPCM4::pulseM4PreCutterSignal(const quint32 &value)
{ return pulse(this, "M4_M4PreCutter", value); }
bool IHNIPCM4::pulseM4RibbonClr1Signal(const quint32 &value)
{ return pulse(this, "M4_M4RibbonClr1", value); }
bool IHNIPCM4::pulseM4RibbonClr2Signal(const quint32 &value)
{ return pulse(this, "M4_M4RibbonClr2", value); }
bool IHNIPCM4::pulseM4RibbonEnc1Signal(const quint32 &value)
{ return pulse(this, "M4_M4RibbonEnc1", value); }
bool IHNIPCM4::pulseM4RibbonEnc2Signal(const quint32 &value)
{ return pulse(this, "M4_M4RibbonEnc2", value); }
bool IHNIPCM4::pulseM4RibbonEnc3Signal(const quint32 &value)
{ return pulse(this, "M4_M4RibbonEnc3", value); }
bool IHNIPCM4::pulseM4RibbonEnc4Signal(const quint32 &value)
{ return pulse(this, "M4_M4RibbonEnc4", value); }
bool IHNIPCM4::pulseM4CutterCoverSignal(const bool &value)
{ return pulse(this, "M4_M4CutterCover", value); }
bool IHNIPCM4::pulseM4CutterHomeSignal(const bool &value)
{ return pulse(this, "M4_M4CutterHome", value); }
bool IHNIPCM4::pulseM4PrinterLidSignal(const bool &value)
{ return pulse(this, "M4_M4PrinterLid", value); }
bool IHNIPCM4::pulseM4SupplySensorSignal(const quint32 &value)
{ return pulse(this, "M4_M4SupplySensor", value); }
bool IHNIPCM4::pulseM4SupplyLatchSignal(const bool &value)
{ return pulse(this, "M4_M4SupplyLatch", value); }
bool IHNIPCM4::pulseM4Film1TachSignal(const quint32 &value)
{ return pulse(this, "M4_M4Film1Tach", value); }
bool IHNIPCM4::pulseM4Film2TachSignal(const quint32 &value)
{ return pulse(this, "M4_M4Film2Tach", value); }
bool IHNIPCM4::pulseM4Film3TachSignal(const quint32 &value)
{ return pulse(this, "M4_M4Film3Tach", value); }
bool IHNIPCM4::pulseM4Film4TachSignal(const quint32 &value)
{ return pulse(this, "M4_M4Film4Tach", value); }
bool IHNIPCM4::pulseM4PrintDoneSignal() { return pulse(this, "M4_M4PrintDone"); }
bool IHNIPCM4::pulseM4RibbonVerify1Signal(const quint64 &value)
{ return pulse(this, "M4_M4RibbonVerify1", value); }
bool IHNIPCM4::pulseM4RibbonVerify2Signal(const quint64 &value)
{ return pulse(this, "M4_M4RibbonVerify2", value); }
bool IHNIPCM4::pulseM4Tph1FaultSignal() { return pulse(this, "M4_M4Tph1Fault"); }
bool IHNIPCM4::pulseM4Tph2FaultSignal() { return pulse(this, "M4_M4Tph2Fault"); }
bool IHNIPCM4::pulseM4SupplyIDSignal(const QString &value)
{ return pulse(this, "M4_M4SupplyID", value); }
bool IHNIPCM4::pulseM4RibbonIDsSignal(const QStringList &value)
{ return pulse(this, "M4_M4RibbonIDs", value); }
bool IHNIPCM4::pulseM4SupplyUIDSignal(const QString &value)
{ return pulse(this, "M4_M4SupplyUID", value); }
bool IHNIPCM4::pulseM4Ribbon1UIDSignal(const QString &value)
{ return pulse(this, "M4_M4Ribbon1UID", value); }
bool IHNIPCM4::pulseM4Ribbon2UIDSignal(const QString &value)
{ return pulse(this, "M4_M4Ribbon2UID", value); }
bool IHNIPCM4::pulseM4Ribbon1MileageSignal(const qint32 &value)
{ return pulse(this, "M4_M4Ribbon1Mileage", value); }
bool IHNIPCM4::pulseM4Ribbon2MileageSignal(const qint32 &value)
{ return pulse(this, "M4_M4Ribbon2Mileage", value); }
bool IHNIPCM4::pulseM4SupplyMileageSignal(const qint32 &value)
{ return pulse(this, "M4_M4SupplyMileage", value); }
bool IHNIPCM4::pulseM4BatteryUpdateSignal(const qint32 &value)
{ return pulse(this, "M4_M4BatteryUpdate", value); }
bool IHNIPCM4::pulseErrorSignal(int value) { return pulse(this, "M4_Error", value); }
bool IHNIPCM4::pulseAlertSignal(int value) { return pulse(this, "M4_Alert", value); }
bool IHNIPCM4::pulsePrintQueueFullSignal(int value)
{ return pulse(this, "M4_PrintQueueFull", value); }
bool IHNIPCM4::pulsePrintQueueClearSignal(int value)
{ return pulse(this, "M4_PrintQueueClear", value); }
bool IHNIPCM4::pulsePrintQueueCompleteSignal(int value)
{ return pulse(this, "M4_PrintQueueComplete", value); }
bool IHNIPCM4::pulseM4TachValuesSignal(const QString &value)
{ return pulse(this, "M4_M4TachValues", value); }
bool IHNIPCM4::pulseM4UserSettingSignal(const int &setting, const qint32 &value)
{ return pulse(this, "M4_M4UserSetting", setting, value); }
bool IHNIPCM4::pulseM4TphThermSignal(const int &tph, const qint32 &value)
{ return pulse(this, "M4_M4TphTherm", tph, value); }
bool IHNIPCM4::pulseM4TphHeatIndexOffsetSignal(const int &tph, const qint32 &value)
{ return pulse(this, "M4_M4TphHeatIndexOffset", tph, value); }
bool IHNIPCM4::pulseM4TachIndexSignal(const int &tach, const qint32 &value)
{ return pulse(this, "M4_M4TachIndex", tach, value); }

// clang-format on
