// SPDX-License-Identifier: MIT
#include "supplyd.h"

#include "printer.h"

#include "common/daemons.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>

using namespace Toolkit;

namespace {

const QString engine = QStringLiteral("m4");

template <typename Row>
Row rowOrNone(const Row *row)
{
    return row ? *row : Row();
}

QDBusPendingCall send(QDBusMessage call, const QVariantList &arguments)
{
    call.setArguments(arguments);
    return QDBusConnection::systemBus().asyncCall(call);
}

QDBusPendingCall callEngine(const char *method, const QVariantList &arguments = {})
{
    return send(daemonCall(engine, QLatin1String(method)), arguments);
}

QDBusPendingCall callWorldOfEngine(const char *method, const QVariantList &arguments)
{
    return send(simulatorCall(busName(engine), QLatin1String(method)), arguments);
}

} // namespace

Supplyd::Supplyd(const Catalogue &catalogue)
    : m_stock(catalogue), m_watcher(busName(engine), QDBusConnection::systemBus(),
                                    QDBusServiceWatcher::WatchForRegistration)
{
    announceFor(m_stock);

    connect(&m_printer, &HNIPC::M4SupplyMileage, &m_stock,
            [this](qint32 value) { m_stock.hearMileage(Stock::SupplyPlace, value); });
    connect(&m_printer, &HNIPC::M4Ribbon1Mileage, &m_stock,
            [this](qint32 value) { m_stock.hearMileage(Stock::Ribbon1Place, value); });
    connect(&m_printer, &HNIPC::M4Ribbon2Mileage, &m_stock,
            [this](qint32 value) { m_stock.hearMileage(Stock::Ribbon2Place, value); });
    connect(&m_printer, &HNIPC::M4SupplyUID, &m_stock,
            [this](const QString &value) { m_stock.hearUid(Stock::SupplyPlace, value); });
    connect(&m_printer, &HNIPC::M4Ribbon1UID, &m_stock,
            [this](const QString &value) { m_stock.hearUid(Stock::Ribbon1Place, value); });
    connect(&m_printer, &HNIPC::M4Ribbon2UID, &m_stock,
            [this](const QString &value) { m_stock.hearUid(Stock::Ribbon2Place, value); });
    connect(&m_printer, &HNIPC::M4SupplyID, &m_stock,
            [this](const QString &value) { m_stock.hearIds(Stock::SupplyPlace, { value }); });
    connect(&m_printer, &HNIPC::M4RibbonIDs, &m_stock,
            [this](const QStringList &value) { m_stock.hearIds(Stock::Ribbon1Place, value); });
    connect(&m_printer, &HNIPC::Alert, &m_stock, &Stock::hearAlert);

    // No blocking calls here: a print engine with a fault must not block this daemon.
    connect(&m_stock, &Stock::presented, this, [](const QString &name, const QVariant &value) {
        callWorldOfEngine("set", { name, QVariant::fromValue(QDBusVariant(value)) });
    });
    connect(&m_stock, &Stock::labelLengthChanged, this, [](int length) {
        callEngine("setUserSetting", { Printer::labelLengthSetting, length });
    });
    connect(&m_stock, &Stock::alerted, this, [](int code) { callEngine("emitAlert", { code }); });

    connect(&m_watcher, &QDBusServiceWatcher::serviceRegistered, this, &Supplyd::meetEngine);
}

void Supplyd::begin()
{
    meetEngine();
    pulseHNIPCReadySignal();
}

// A print engine that already has rolls got them before this daemon was started: its values are
// taken. Otherwise the print engine gets the values of this daemon.
void Supplyd::meetEngine()
{
    auto *watcher = new QDBusPendingCallWatcher(
        callWorldOfEngine("get", { QStringLiteral("supplyID") }), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher]() {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        watcher->deleteLater();
        if (reply.isError()) {
            return;
        }
        if (m_stock.catalogue().supply(reply.value().variant().toString())) {
            callEngine("rfidTest");
            callEngine("reqSupplyMileage");
            callEngine("reqRibbon1Mileage");
            callEngine("reqRibbon2Mileage");
        } else {
            m_stock.present();
        }
        m_stock.repeatAlert();
    });
}

QString Supplyd::load(const QString &supplySku, const QStringList &ribbonSkus)
{
    return m_stock.load(supplySku, ribbonSkus);
}

// The only signal of the interface without a pulse operation in the library.
QString Supplyd::broadcast(const QString &signal, const QVariantList &arguments)
{
    if (signal != QLatin1String("CloseApplicationSignal") || !arguments.isEmpty()) {
        return Daemon::broadcast(signal, arguments);
    }
    pulseSignal(QStringLiteral("/"), QStringLiteral("local.IHNIPCSUPPLYD"),
                QStringLiteral("SUPPLYD_CloseApplicationSignal"), {});
    return QString();
}

// ---- The database ----

QStringList Supplyd::supplySKUList()
{
    QStringList result;
    for (const Supply &row : m_stock.catalogue().supplies) {
        result += row.sku;
    }
    return result;
}

QStringList Supplyd::supplyRibbonSKUList()
{
    QStringList result;
    for (const Ribbon &row : m_stock.catalogue().ribbons) {
        result += row.sku;
    }
    return result;
}

QVariantHash Supplyd::supplyColorHash()
{
    QVariantHash result;
    for (const Supply &row : m_stock.catalogue().supplies) {
        result.insert(row.colorName, rgbText(row.rgb));
    }
    return result;
}

QVariantHash Supplyd::supplyRibbonColorHash()
{
    QVariantHash result;
    for (const Ribbon &row : m_stock.catalogue().ribbons) {
        for (const Panel &one : row.panels) {
            result.insert(one.colorName, rgbText(one.rgb));
        }
    }
    return result;
}

Supply Supplyd::supply(const QString &sku) const
{
    return rowOrNone(m_stock.catalogue().supply(sku));
}

Ribbon Supplyd::ribbon(const QString &sku) const
{
    return rowOrNone(m_stock.catalogue().ribbon(sku));
}

Panel Supplyd::panel(const QString &ribbonSku, int number) const
{
    return rowOrNone(m_stock.catalogue().panel(ribbonSku, number));
}

// ---- The loaded rolls; a printer of another name has none ----

QString Supplyd::supplySKUCached(QString printerName)
{
    return Printer::isCalled(printerName) ? supplyId() : QString();
}

QStringList Supplyd::supplyRibbonSKUsCached(QString printerName)
{
    return Printer::isCalled(printerName) ? m_stock.ribbonSkus() : QStringList();
}

QString Supplyd::supplySupplyRGB(QString printerName)
{
    return Printer::isCalled(printerName) ? m_stock.rgbs(Stock::SupplyPlace).value(0) : QString();
}

QStringList Supplyd::supplyRibbon1RGBs(QString printerName)
{
    return Printer::isCalled(printerName) ? m_stock.rgbs(Stock::Ribbon1Place) : QStringList();
}

QStringList Supplyd::supplyRibbon2RGBs(QString printerName)
{
    return Printer::isCalled(printerName) ? m_stock.rgbs(Stock::Ribbon2Place) : QStringList();
}

SupplyInformation Supplyd::supplyInformation(QString printerName)
{
    return Printer::isCalled(printerName) ? m_stock.record() : SupplyInformation();
}

SupplyInformation Supplyd::supplyInformationBySKUs(QString supplySku, QStringList ribbonSkus,
                                                   QString)
{
    return m_stock.record(supplySku, ribbonSkus);
}
