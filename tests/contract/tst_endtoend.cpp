// SPDX-License-Identifier: MIT
#include "expected/identities.h"
#include "support/fence.h"
#include "support/privatebus.h"
#include "support/process.h"
#include "support/signalrecorder.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>

using namespace Expected;

namespace {

// A daemon that is built on this library, as a process of its own.
class Daemon : public Process
{
public:
    explicit Daemon(const char *name)
        : m_program(QString::fromLatin1(HNIPC_TEST_DAEMON_DIR "/hnipc-test-")
                    + QString::fromLatin1(name))
    {
    }

    bool starts()
    {
        start(m_program, QStringList());
        return says("ready\n");
    }

    bool stops()
    {
        terminate();
        return exitCode() == 0;
    }

    bool crashes()
    {
        kill();
        return ends();
    }

    // Waits for this text. The daemon has to print it next.
    bool says(const QByteArray &words)
    {
        QByteArray said;
        return waitUntil([this, &said, &words]() {
            said += read(words.size() - said.size());
            return said == words;
        });
    }

private:
    QString m_program;
};

} // namespace

// The library at both ends of the bus.
class tst_EndToEnd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ioExpander();
    void printEngine();
    void supplies();
    void daemonsStartAndStop();

private:
    Fence m_fence;
};

void tst_EndToEnd::ioExpander()
{
    Daemon daemon("ioexpd");
    QVERIFY(daemon.starts());
    HNIPC client(0);
    SignalRecorder recorder(&client);
    client.enableAudioAmp(true);
    QVERIFY(daemon.says("audio amplifier on\n"));
    client.enableBacklight(false);
    QVERIFY(daemon.says("backlight off\n"));
    client.enableAudioAmp(false);
    QVERIFY(daemon.says("audio amplifier off\n"));
    client.printerSoftCancel();
    QVERIFY(m_fence.pass());
    QCOMPARE(recorder.take(), QList<QByteArray>() << emission("CancelButton()"));
    QVERIFY(daemon.stops());
}

void tst_EndToEnd::printEngine()
{
    Daemon daemon("m4");
    QVERIFY(daemon.starts());
    HNIPC client(0);
    SignalRecorder recorder(&client);
    QCOMPARE(client.m4Version(), QString::fromLatin1("4.2.0-test"));
    QVERIFY(client.setDac(4294967295u));
    QCOMPARE(client.dac0(), quint32(4294967295u));
    QVERIFY(client.emitError(-3));
    QCOMPARE(client.getError(), -3);
    QVERIFY(client.setUserSetting(5, -3));
    QVERIFY(client.sendMCCMessage(1, 2, quint64(18446744073709551615ull)));
    QVERIFY(client.sendMCCMessage(1, 2, QString::fromUtf8("\xc3\xa4")));
    QVERIFY(m_fence.pass());
    const QString number = QString::fromLatin1("1 2 18446744073709551615");
    const QString text = QString::fromUtf8("1 2 \"\xc3\xa4\"");
    const QString received = QString::fromLatin1("1 2 ok");
    QCOMPARE(
        recorder.take(),
        QList<QByteArray>() << emission("M4Dac0(uint)", QVariantList() << 4294967295u)
                            << emission("Error(int)", QVariantList() << -3)
                            << emission("M4UserSetting(int,int)", QVariantList() << 5 << -3)
                            << emission("M4MessageSent(QString)", QVariantList() << number)
                            << emission("M4MessageReceived(QString)", QVariantList() << received)
                            << emission("M4MessageSent(QString)", QVariantList() << text)
                            << emission("M4MessageReceived(QString)", QVariantList() << received));
    QVERIFY(daemon.stops());
}

void tst_EndToEnd::supplies()
{
    Daemon daemon("supplyd");
    QVERIFY(daemon.starts());
    HNIPC client(0);
    const QString supply = QLatin1String("S-100-WHITE");
    const QStringList ribbons = QStringList()
        << QLatin1String("R-110-CMY") << QLatin1String("R-60-BLACK");
    QCOMPARE(client.supplySKUCached(), supply);
    QCOMPARE(client.supplyRibbonSKUsCached(), ribbons);
    QCOMPARE(client.supplyWidth(supply), 100.0);
    QCOMPARE(client.supplyRibbonColorName(ribbons.first()), QString::fromLatin1("Cyan"));
    QCOMPARE(client.supplyRibbonColorName(ribbons.first(), 3), QString::fromLatin1("Yellow"));
    QCOMPARE(client.supplyColorHash().value(QLatin1String("White")),
             QVariant(QString::fromLatin1("#ffffff")));
    const SupplyInformation record = client.supplyInformation();
    QCOMPARE(record.text1, supply);
    QCOMPARE(record.textList1, ribbons);
    QVERIFY(record.real1 == 81.5f);
    QCOMPARE(record.integer4, 2);
    QCOMPARE(record.integer5, 3);
    QCOMPARE(record.bytes1, client.supplyBackgroundImage(supply));
    QVERIFY(!record.bytes1.isEmpty());
    QCOMPARE(record.variantList1, QVariantList() << 0x00aeef << 0xec008c << 0xfff200 << 0);
    QVERIFY(daemon.stops());
}

void tst_EndToEnd::daemonsStartAndStop()
{
    Daemon ioexpd("ioexpd");
    Daemon m4("m4");
    Daemon supplyd("supplyd");
    HNIPC client(0);
    SignalRecorder recorder(&client);
    for (int round = 0; round < 3; ++round) {
        QVERIFY(ioexpd.starts() && m4.starts() && supplyd.starts());
        QVERIFY(m_fence.pass());
        QVERIFY(client.emitAlert(round + 1));
        QCOMPARE(client.getAlert(), round + 1);
        QCOMPARE(client.supplySupplyPercent(), 81.5);
        client.printerSoftCancel();
        QVERIFY(m_fence.pass());
        QCOMPARE(recorder.take(),
                 QList<QByteArray>() << emission("Alert(int)", QVariantList() << round + 1)
                                     << emission("CancelButton()"));

        QVERIFY(ioexpd.stops() && m4.crashes() && supplyd.stops());
        QVERIFY(m_fence.pass());
        QCOMPARE(client.getAlert(), 0);
        QCOMPARE(client.supplySupplyPercent(), 0.0);
        client.printerSoftCancel();
        QVERIFY(m_fence.pass());
        QCOMPARE(recorder.take(), QList<QByteArray>());
    }
}

HNIPC_TEST_MAIN(tst_EndToEnd)

#include "tst_endtoend.moc"
