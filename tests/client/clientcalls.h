// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_CLIENTCALLS_H
#define HNIPC_TESTS_CLIENTCALLS_H

#include <hnipc/hnipc.h>

#include <QtCore/QVariant>

#include <functional>

// Every form in which C++ can call a method of the client.

// References have no name here: arguments are passed by value.
// clang-format off
template <typename T> struct TypeName;
template <> struct TypeName<void> { static const char *name() { return ""; } };
template <> struct TypeName<bool> { static const char *name() { return "bool"; } };
template <> struct TypeName<int> { static const char *name() { return "int"; } };
template <> struct TypeName<uint> { static const char *name() { return "uint"; } };
template <> struct TypeName<qulonglong> { static const char *name() { return "qulonglong"; } };
template <> struct TypeName<double> { static const char *name() { return "double"; } };
template <> struct TypeName<QString> { static const char *name() { return "QString"; } };
template <> struct TypeName<QStringList> { static const char *name() { return "QStringList"; } };
template <> struct TypeName<QByteArray> { static const char *name() { return "QByteArray"; } };
template <> struct TypeName<QVariantHash> { static const char *name() { return "QVariantHash"; } };
template <> struct TypeName<SupplyInformation>
{
    static const char *name() { return "SupplyInformation"; }
};
// clang-format on

struct ClientCall
{
    QByteArray result;
    QList<QByteArray> arguments;
    std::function<QVariant(HNIPC &, const QVariantList &)> invoke;
};

// clang-format off
template <int... I> struct Indexes {};
template <int N, int... I> struct IndexesUpTo : IndexesUpTo<N - 1, N - 1, I...> {};
template <int... I> struct IndexesUpTo<0, I...> { typedef Indexes<I...> Type; };
// clang-format on

template <typename Result, typename... Arguments, int... I>
QVariant invoke(const std::function<Result(HNIPC &, Arguments...)> &function, HNIPC &client,
                const QVariantList &arguments, Indexes<I...>)
{
    Q_UNUSED(arguments);
    return QVariant::fromValue(function(client, qvariant_cast<Arguments>(arguments.at(I))...));
}

template <typename... Arguments, int... I>
QVariant invoke(const std::function<void(HNIPC &, Arguments...)> &function, HNIPC &client,
                const QVariantList &arguments, Indexes<I...>)
{
    Q_UNUSED(arguments);
    function(client, qvariant_cast<Arguments>(arguments.at(I))...);
    return QVariant();
}

template <typename Result, typename... Arguments>
ClientCall callOf(const std::function<Result(HNIPC &, Arguments...)> &function)
{
    ClientCall result;
    result.result = TypeName<Result>::name();
    result.arguments = { QByteArray(TypeName<Arguments>::name())... };
    result.invoke = [function](HNIPC &client, const QVariantList &arguments) {
        return invoke(function, client, arguments,
                      typename IndexesUpTo<sizeof...(Arguments)>::Type());
    };
    return result;
}

template <typename Result, typename... Arguments>
ClientCall call(Result (HNIPC::*method)(Arguments...))
{
    return callOf(std::function<Result(HNIPC &, Arguments...)>(method));
}

template <typename Result, typename... Arguments>
ClientCall call(Result (*shortened)(HNIPC &, Arguments...))
{
    return callOf(std::function<Result(HNIPC &, Arguments...)>(shortened));
}

// In the order of the client's slots.
const ClientCall clientCalls[] = {
    call(&HNIPC::enableAudioAmp),
    call(&HNIPC::enableBacklight),
    call(&HNIPC::printerSoftCancel),
    call(&HNIPC::getError),
    call(&HNIPC::getAlert),
    call(&HNIPC::emitError),
    call(&HNIPC::emitAlert),
    call(&HNIPC::resetCutter),
    call(&HNIPC::resetPrinter),
    call(&HNIPC::cycleCutter),
    call(&HNIPC::calibrateSupply),
    call(&HNIPC::setDac),
    call(&HNIPC::setClearTailRibbon1),
    call(&HNIPC::setClearTailRibbon2),
    call(&HNIPC::setSupplySensor),
    call(&HNIPC::setSupplyWidth),
    call(&HNIPC::setSupplyLED),
    call(&HNIPC::cancelPrintJob),
    call(&HNIPC::retryPrintJob),
    call(&HNIPC::clearPrintJob),
    call(&HNIPC::clearAllPrintJobs),
    call(&HNIPC::printQueueFull),
    call(&HNIPC::printQueueComplete),
    call(&HNIPC::m4Version),
    call(&HNIPC::getBatteryStatus),
    call(&HNIPC::dac0),
    call(&HNIPC::bMark),
    call(&HNIPC::gap),
    call(&HNIPC::preCutter),
    call(&HNIPC::ribbonClr1),
    call(&HNIPC::ribbonClr2),
    call(&HNIPC::ribbonEnc1),
    call(&HNIPC::ribbonEnc2),
    call(&HNIPC::ribbonEnc3),
    call(&HNIPC::ribbonEnc4),
    call(&HNIPC::cutterCover),
    call(&HNIPC::cutterHome),
    call(&HNIPC::printerLid),
    call(&HNIPC::supplySensor),
    call(&HNIPC::supplyLatch),
    call(&HNIPC::ribbon1Verify),
    call(&HNIPC::ribbon2Verify),
    call(&HNIPC::ribbon1Mileage),
    call(&HNIPC::ribbon2Mileage),
    call(&HNIPC::supplyMileage),
    call(static_cast<bool (HNIPC::*)(int, int, quint64)>(&HNIPC::sendMCCMessage)),
    call(static_cast<bool (HNIPC::*)(int, int, QString)>(&HNIPC::sendMCCMessage)),
    call(&HNIPC::forwardFeed),
    call(&HNIPC::backwardFeed),
    call(&HNIPC::solenoid1),
    call(&HNIPC::resetSolenoid1),
    call(&HNIPC::solenoid2),
    call(&HNIPC::resetSolenoid2),
    call(&HNIPC::solenoid3),
    call(&HNIPC::resetSolenoid3),
    call(&HNIPC::solenoid4),
    call(&HNIPC::resetSolenoid4),
    call(&HNIPC::ribbon1),
    call(&HNIPC::resetRibbon1),
    call(&HNIPC::ribbon2),
    call(&HNIPC::resetRibbon2),
    call(&HNIPC::resetPaperMotor1),
    call(&HNIPC::resetPaperMotor2),
    call(&HNIPC::resetMotor),
    call(&HNIPC::setUserSetting),
    call(&HNIPC::refreshSettings),
    call(&HNIPC::refreshSensors),
    call(&HNIPC::refreshAll),
    call(&HNIPC::rfidTest),
    call(&HNIPC::dumpSettings),
    call(&HNIPC::reqTph1Therm),
    call(&HNIPC::reqTph2Therm),
    call(&HNIPC::reqTph1HeatIndex),
    call(&HNIPC::reqTph2HeatIndex),
    call(&HNIPC::reqTach1Tension),
    call(&HNIPC::reqTach2Tension),
    call(&HNIPC::reqTach3Tension),
    call(&HNIPC::reqTach4Tension),
    call(&HNIPC::reqRibbon1Verify),
    call(&HNIPC::reqRibbon2Verify),
    call(&HNIPC::reqRibbon1Mileage),
    call(&HNIPC::reqRibbon2Mileage),
    call(&HNIPC::reqSupplyMileage),
    call(&HNIPC::tph1Therm),
    call(&HNIPC::tph2Therm),
    call(&HNIPC::tph1HeatIndexOffset),
    call(&HNIPC::tph2HeatIndexOffset),
    call(&HNIPC::tach1Tension),
    call(&HNIPC::tach2Tension),
    call(&HNIPC::tach3Tension),
    call(&HNIPC::tach4Tension),
    call(&HNIPC::supplySKUList),
    call(&HNIPC::supplyRibbonSKUList),
    call(&HNIPC::supplyColorHash),
    call(&HNIPC::supplyRibbonColorHash),
    call(&HNIPC::supplyId),
    call(&HNIPC::supplySKUCached),
    call(+[](HNIPC &client) { return client.supplySKUCached(); }),
    call(&HNIPC::supplyRibbonSKUsCached),
    call(+[](HNIPC &client) { return client.supplyRibbonSKUsCached(); }),
    call(&HNIPC::supplySupplyPercent),
    call(&HNIPC::supplyRibbon1Percent),
    call(&HNIPC::supplyRibbon2Percent),
    call(&HNIPC::supplySupplyRGB),
    call(+[](HNIPC &client) { return client.supplySupplyRGB(); }),
    call(&HNIPC::supplyRibbon1RGBs),
    call(+[](HNIPC &client) { return client.supplyRibbon1RGBs(); }),
    call(&HNIPC::supplyRibbon2RGBs),
    call(+[](HNIPC &client) { return client.supplyRibbon2RGBs(); }),
    call(&HNIPC::supplySupplyUID),
    call(&HNIPC::supplyRibbon1UID),
    call(&HNIPC::supplyRibbon2UID),
    call(&HNIPC::supplyInformation),
    call(+[](HNIPC &client) { return client.supplyInformation(); }),
    call(&HNIPC::supplyInformationBySKUs),
    call(+[](HNIPC &client, QString supplySku, QStringList ribbonSkus) {
        return client.supplyInformationBySKUs(supplySku, ribbonSkus);
    }),
    call(&HNIPC::supplyMaterialName),
    call(+[](HNIPC &client, QString sku) { return client.supplyMaterialName(sku); }),
    call(&HNIPC::supplyFormatName),
    call(+[](HNIPC &client, QString sku) { return client.supplyFormatName(sku); }),
    call(&HNIPC::supplyColorRGB),
    call(+[](HNIPC &client, QString sku) { return client.supplyColorRGB(sku); }),
    call(&HNIPC::supplyColorName),
    call(+[](HNIPC &client, QString sku) { return client.supplyColorName(sku); }),
    call(&HNIPC::supplyWidth),
    call(+[](HNIPC &client, QString sku) { return client.supplyWidth(sku); }),
    call(&HNIPC::supplyIsLandscape),
    call(&HNIPC::supplyBackgroundImage),
    call(&HNIPC::supplyNonContinuousLength),
    call(+[](HNIPC &client, QString sku) { return client.supplyNonContinuousLength(sku); }),
    call(&HNIPC::supplyTypeIndex),
    call(+[](HNIPC &client, QString sku) { return client.supplyTypeIndex(sku); }),
    call(&HNIPC::supplyRibbonPanels),
    call(&HNIPC::supplyRibbonWidth),
    call(&HNIPC::supplyRibbonLength),
    call(&HNIPC::supplyRibbonColorName),
    call(+[](HNIPC &client, QString ribbonSku) { return client.supplyRibbonColorName(ribbonSku); }),
    call(&HNIPC::supplyRibbonColorRGB),
    call(+[](HNIPC &client, QString ribbonSku) { return client.supplyRibbonColorRGB(ribbonSku); }),
    call(&HNIPC::supplyRibbonHeat),
    call(&HNIPC::supplyRibbonHeatOffset),
    call(&HNIPC::supplyRibbonMaxSpeed),
    call(&HNIPC::supplyRibbonTension),
    call(&HNIPC::supplyModuleReady),
    call(&HNIPC::applicationWasClicked),
    call(&HNIPC::getPrinterStatus),
    call(&HNIPC::setModulePrinterName),
};

const int clientCallCount = sizeof clientCalls / sizeof clientCalls[0];

#endif
