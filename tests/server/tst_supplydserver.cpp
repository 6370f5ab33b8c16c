// SPDX-License-Identifier: MIT
#include "members.h"
#include "operations/ihnipcsupplyd.h"
#include "serverinterfacetest.h"
#include "support/privatebus.h"

#include <QtDBus/QDBusMetaType>

namespace {

typedef Operations::SUPPLYD<Recorder> SupplydRecorder;

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
    const QList<int> indexes = virtualIndexes<IHNIPCSUPPLYD, SupplydRecorder>();
    QCOMPARE(indexes, virtualIndexesAfterQObject(int(indexes.size())));
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
