// SPDX-License-Identifier: MIT
#include "members.h"
#include "serverinterfacetest.h"
#include "support/privatebus.h"

#include <hnipc/ihnipcsupplyd.h>

#include <QtDBus/QDBusMetaType>

namespace {

class SupplydRecorder : public IHNIPCSUPPLYD, public Recorder
{
public:
    using IHNIPCSUPPLYD::IHNIPCSUPPLYD;

    QStringList supplySKUList() override { return answer<QStringList>(__func__); }
    QStringList supplyRibbonSKUList() override { return answer<QStringList>(__func__); }
    QVariantHash supplyColorHash() override { return answer<QVariantHash>(__func__); }
    QVariantHash supplyRibbonColorHash() override { return answer<QVariantHash>(__func__); }
    QString supplyId() override { return answer<QString>(__func__); }
    QString supplySKUCached(QString printerName) override
    {
        return answer<QString>(__func__, printerName);
    }
    QStringList supplyRibbonSKUsCached(QString printerName) override
    {
        return answer<QStringList>(__func__, printerName);
    }
    double supplySupplyPercent() override { return answer<double>(__func__); }
    double supplyRibbon1Percent() override { return answer<double>(__func__); }
    double supplyRibbon2Percent() override { return answer<double>(__func__); }
    QString supplySupplyRGB(QString printerName) override
    {
        return answer<QString>(__func__, printerName);
    }
    QStringList supplyRibbon1RGBs(QString printerName) override
    {
        return answer<QStringList>(__func__, printerName);
    }
    QStringList supplyRibbon2RGBs(QString printerName) override
    {
        return answer<QStringList>(__func__, printerName);
    }
    QString supplySupplyUID() override { return answer<QString>(__func__); }
    QString supplyRibbon1UID() override { return answer<QString>(__func__); }
    QString supplyRibbon2UID() override { return answer<QString>(__func__); }
    SupplyInformation supplyInformation(QString printerName) override
    {
        return answer<SupplyInformation>(__func__, printerName);
    }
    SupplyInformation supplyInformationBySKUs(QString supplySku, QStringList ribbonSkus,
                                              QString printerName) override
    {
        return answer<SupplyInformation>(__func__, supplySku, ribbonSkus, printerName);
    }
    QString supplyMaterialName(QString sku, QString printerName) override
    {
        return answer<QString>(__func__, sku, printerName);
    }
    QString supplyFormatName(QString sku, QString printerName) override
    {
        return answer<QString>(__func__, sku, printerName);
    }
    qint32 supplyColorRGB(QString sku, QString printerName) override
    {
        return answer<qint32>(__func__, sku, printerName);
    }
    QString supplyColorName(QString sku, QString printerName) override
    {
        return answer<QString>(__func__, sku, printerName);
    }
    double supplyWidth(QString sku, QString printerName) override
    {
        return answer<double>(__func__, sku, printerName);
    }
    qint32 supplyIsLandscape(QString sku) override { return answer<qint32>(__func__, sku); }
    QByteArray supplyBackgroundImage(QString sku) override
    {
        return answer<QByteArray>(__func__, sku);
    }
    double supplyNonContinuousLength(QString sku, QString printerName) override
    {
        return answer<double>(__func__, sku, printerName);
    }
    qint32 supplyTypeIndex(QString sku, QString printerName) override
    {
        return answer<qint32>(__func__, sku, printerName);
    }
    qint32 supplyRibbonPanels(QString ribbonSku) override
    {
        return answer<qint32>(__func__, ribbonSku);
    }
    double supplyRibbonWidth(QString ribbonSku) override
    {
        return answer<double>(__func__, ribbonSku);
    }
    double supplyRibbonLength(QString ribbonSku) override
    {
        return answer<double>(__func__, ribbonSku);
    }
    QString supplyRibbonColorName(QString ribbonSku, int panel) override
    {
        return answer<QString>(__func__, ribbonSku, panel);
    }
    qint32 supplyRibbonColorRGB(QString ribbonSku, int panel) override
    {
        return answer<qint32>(__func__, ribbonSku, panel);
    }
    qint32 supplyRibbonHeat(QString ribbonSku, int panel, QString supplySku) override
    {
        return answer<qint32>(__func__, ribbonSku, panel, supplySku);
    }
    qint32 supplyRibbonHeatOffset(QString ribbonSku, int panel, QString supplySku) override
    {
        return answer<qint32>(__func__, ribbonSku, panel, supplySku);
    }
    qint32 supplyRibbonMaxSpeed(QString ribbonSku, int panel, QString supplySku) override
    {
        return answer<qint32>(__func__, ribbonSku, panel, supplySku);
    }
    qint32 supplyRibbonTension(QString ribbonSku, int panel, QString supplySku) override
    {
        return answer<qint32>(__func__, ribbonSku, panel, supplySku);
    }
    void supplyModuleReady(int windowId, int processId, QString applicationName) override
    {
        note(__func__, { windowId, processId, applicationName });
    }
    void applicationWasClicked() override { note(__func__); }
    void setModulePrinterName(QString printerName) override { note(__func__, { printerName }); }
};

bool isRecordKnown()
{
#if QT_VERSION < 0x060000
    return QDBusMetaType::typeToSignature(qMetaTypeId<SupplyInformation>()) != 0;
#else
    return QDBusMetaType::typeToSignature(QMetaType::fromType<SupplyInformation>()) != 0;
#endif
}

typedef IHNIPCSUPPLYD Supplyd;

static_assert(!std::is_convertible<QObject *, const SupplydRecorder &>::value, "not explicit");

// Daemons call the pulse operations with exactly these types.
static_assert(areOfType<bool (Supplyd::*)()>(&Supplyd::pulseHNIPCReadySignal), "");
static_assert(areOfType<bool (Supplyd::*)(QStringList)>(&Supplyd::pulseRibbon2RGBsChangedSignal,
                                                        &Supplyd::pulseRibbon1RGBsChangedSignal),
              "");
static_assert(areOfType<bool (Supplyd::*)(QString)>(&Supplyd::pulseSupplyRGBChangedSignal), "");
static_assert(areOfType<bool (Supplyd::*)(double)>(&Supplyd::pulseRibbon2PercentChangedSignal,
                                                   &Supplyd::pulseRibbon1PercentChangedSignal,
                                                   &Supplyd::pulseSupplyPercentChangedSignal),
              "");
static_assert(
    areOfType<bool (Supplyd::*)(QStringList, QString)>(&Supplyd::pulseRibbonChangedSignal), "");
static_assert(areOfType<bool (Supplyd::*)(QString, QString)>(&Supplyd::pulseSupplyChangedSignal),
              "");

} // namespace

class tst_SupplydServer : public ServerInterfaceTest
{
    Q_OBJECT

public:
    tst_SupplydServer()
        : ServerInterfaceTest(Expected::SUPPLYD, IHNIPCSUPPLYD::staticMetaObject),
          m_recordWasKnown(true)
    {
    }

protected:
    HNIPCServer *create(QObject *parent) override
    {
        HNIPCServer *server = parent ? new SupplydRecorder(parent) : new SupplydRecorder;
        if (!parent) {
            m_recordWasKnown = isRecordKnown();
        }
        qDBusRegisterMetaType<SupplyInformation>();
        return server;
    }

private slots:
    void virtualOperationsStandInTheOrderOfTheSlots();
    void supplyChangeWithoutPrinterHasAnEmptyName();
    void ribbonChangeWithoutPrinterHasAnEmptyName();
    void supplyInformationIsOneStructure();
    void recordIsLeftToTheDaemonToRegister();
    void operationsWithoutResultAnswerEmpty_data();
    void operationsWithoutResultAnswerEmpty();
    void closeApplicationIsSentWithoutAPulseOperation();

private:
    bool m_recordWasKnown;
};

void tst_SupplydServer::virtualOperationsStandInTheOrderOfTheSlots()
{
    QVERIFY(std::is_abstract<IHNIPCSUPPLYD>::value);
    QCOMPARE(virtualIndexes(
                 &Supplyd::supplySKUList, &Supplyd::supplyRibbonSKUList, &Supplyd::supplyColorHash,
                 &Supplyd::supplyRibbonColorHash, &Supplyd::supplyId, &Supplyd::supplySKUCached,
                 &Supplyd::supplyRibbonSKUsCached, &Supplyd::supplySupplyPercent,
                 &Supplyd::supplyRibbon1Percent, &Supplyd::supplyRibbon2Percent,
                 &Supplyd::supplySupplyRGB, &Supplyd::supplyRibbon1RGBs,
                 &Supplyd::supplyRibbon2RGBs, &Supplyd::supplySupplyUID, &Supplyd::supplyRibbon1UID,
                 &Supplyd::supplyRibbon2UID, &Supplyd::supplyInformation,
                 &Supplyd::supplyInformationBySKUs, &Supplyd::supplyMaterialName,
                 &Supplyd::supplyFormatName, &Supplyd::supplyColorRGB, &Supplyd::supplyColorName,
                 &Supplyd::supplyWidth, &Supplyd::supplyIsLandscape,
                 &Supplyd::supplyBackgroundImage, &Supplyd::supplyNonContinuousLength,
                 &Supplyd::supplyTypeIndex, &Supplyd::supplyRibbonPanels,
                 &Supplyd::supplyRibbonWidth, &Supplyd::supplyRibbonLength,
                 &Supplyd::supplyRibbonColorName, &Supplyd::supplyRibbonColorRGB,
                 &Supplyd::supplyRibbonHeat, &Supplyd::supplyRibbonHeatOffset,
                 &Supplyd::supplyRibbonMaxSpeed, &Supplyd::supplyRibbonTension,
                 &Supplyd::supplyModuleReady, &Supplyd::applicationWasClicked,
                 &Supplyd::setModulePrinterName, &WithOneMore<Supplyd>::oneMore),
             virtualIndexesAfterQObject(39 + 1));
}

void tst_SupplydServer::supplyChangeWithoutPrinterHasAnEmptyName()
{
    const QByteArray expected = signalLine("SUPPLYD_SupplyChanged", "ss", "('SKU-1', '')");
    QCOMPARE(call("pulseSupplyChangedSignal", "('SKU-1',)").body, QByteArray("(true,)"));
    QCOMPARE(sentSignals(), expected);
    QVERIFY(qobject_cast<Supplyd *>(server())->pulseSupplyChangedSignal(QLatin1String("SKU-1")));
    QCOMPARE(sentSignals(), expected);
}

void tst_SupplydServer::ribbonChangeWithoutPrinterHasAnEmptyName()
{
    const QByteArray expected = signalLine("SUPPLYD_RibbonChanged", "ass", "(['R-1', 'R-2'], '')");
    QCOMPARE(call("pulseRibbonChangedSignal", "(['R-1', 'R-2'],)").body, QByteArray("(true,)"));
    QCOMPARE(sentSignals(), expected);
    const QStringList ribbons = QStringList() << QLatin1String("R-1") << QLatin1String("R-2");
    QVERIFY(qobject_cast<Supplyd *>(server())->pulseRibbonChangedSignal(ribbons));
    QCOMPARE(sentSignals(), expected);
}

void tst_SupplydServer::supplyInformationIsOneStructure()
{
    recorder()->nextAnswer = QVariant::fromValue(SupplyInformation());
    const WireMessage reply = call("supplyInformation", "('printer',)");
    QCOMPARE(reply.type, WireMessage::MethodReturn);
    QCOMPARE(reply.signature, QByteArray("(sasdisdisisisdiayddiiiddddasavavavavav)"));
}

void tst_SupplydServer::recordIsLeftToTheDaemonToRegister()
{
    QVERIFY(!m_recordWasKnown);
    QVERIFY(isRecordKnown());
}

void tst_SupplydServer::operationsWithoutResultAnswerEmpty_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("supplyModuleReady") << QByteArray("(4711, 42, 'labels')");
    QTest::newRow("applicationWasClicked") << QByteArray("()");
    QTest::newRow("setModulePrinterName") << QByteArray("('printer',)");
}

void tst_SupplydServer::operationsWithoutResultAnswerEmpty()
{
    QFETCH(QByteArray, body);
    const WireMessage reply = call(QTest::currentDataTag(), body);
    QCOMPARE(reply.type, WireMessage::MethodReturn);
    QCOMPARE(reply.signature, QByteArray());
    QCOMPARE(recorder()->calls.size(), 1);
}

void tst_SupplydServer::closeApplicationIsSentWithoutAPulseOperation()
{
    QCOMPARE(call("pulseCloseApplicationSignal").type, WireMessage::Error);
    QCOMPARE(call("pulseCloseApplicationSignalSignal").type, WireMessage::Error);
    QVERIFY(server()->pulseSignal(QLatin1String("/"), QLatin1String("local.IHNIPCSUPPLYD"),
                                  QLatin1String("SUPPLYD_CloseApplicationSignal"),
                                  QList<QVariant>()));
    QCOMPARE(sentSignals(), signalLine("SUPPLYD_CloseApplicationSignal"));
}

HNIPC_TEST_MAIN(tst_SupplydServer)
#include "tst_supplydserver.moc"
