// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_SIGNALPARAMETERS_H
#define HNIPC_TESTS_SIGNALPARAMETERS_H

#include <QtCore/QStringList>

#include <initializer_list>

// Compiles only if the class declares the signals of the daemons with exactly these parameters, and
// with this result.
template <typename Class, typename Result>
class SignalParameters : public Class
{
    typedef SignalParameters S;

    template <typename... Parameters>
    struct Taking
    {
        static void each(std::initializer_list<Result (Class::*)(Parameters...)>) {}
    };

public:
    static void check()
    {
        Taking<>::each({ &S::CancelButton, &S::HelpButton, &S::PrintButton, &S::M4PrintDone,
                         &S::M4Tph1Fault, &S::M4Tph2Fault, &S::HNIPCReady,
                         &S::CloseApplicationSignal });
        Taking<int>::each({ &S::Error, &S::Alert, &S::PrintQueueFull, &S::PrintQueueClear,
                            &S::PrintQueueComplete });
        Taking<double>::each(
            { &S::SupplyPercentChanged, &S::Ribbon1PercentChanged, &S::Ribbon2PercentChanged });
        Taking<QString>::each({ &S::SupplyRGBChanged });
        Taking<QStringList>::each({ &S::Ribbon1RGBsChanged, &S::Ribbon2RGBsChanged });
        Taking<const bool &>::each(
            { &S::M4CutterCover, &S::M4CutterHome, &S::M4PrinterLid, &S::M4SupplyLatch });
        Taking<const qint32 &>::each({ &S::M4Ribbon1Mileage, &S::M4Ribbon2Mileage,
                                       &S::M4SupplyMileage, &S::M4BatteryUpdate });
        Taking<const quint32 &>::each({ &S::M4Dac0, &S::M4BMark, &S::M4Gap, &S::M4PreCutter,
                                        &S::M4RibbonClr1, &S::M4RibbonClr2, &S::M4RibbonEnc1,
                                        &S::M4RibbonEnc2, &S::M4RibbonEnc3, &S::M4RibbonEnc4,
                                        &S::M4SupplySensor, &S::M4Film1Tach, &S::M4Film2Tach,
                                        &S::M4Film3Tach, &S::M4Film4Tach });
        Taking<const quint64 &>::each({ &S::M4RibbonVerify1, &S::M4RibbonVerify2 });
        Taking<const QString &>::each({ &S::M4MessageReceived, &S::M4MessageSent, &S::M4Version,
                                        &S::M4SupplyID, &S::M4SupplyUID, &S::M4Ribbon1UID,
                                        &S::M4Ribbon2UID, &S::M4TachValues });
        Taking<const QStringList &>::each({ &S::M4RibbonIDs });
        Taking<const int &, const qint32 &>::each(
            { &S::M4UserSetting, &S::M4TphTherm, &S::M4TphHeatIndexOffset, &S::M4TachIndex });
        Taking<QString, const QString &>::each({ &S::SupplyChanged });
        Taking<QStringList, const QString &>::each({ &S::RibbonChanged });
    }
};

#endif
