// SPDX-License-Identifier: MIT
#include "relayrows.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>

#include <QtCore/QScopedPointer>

using namespace Expected;

// The client emits the daemons' signals, and nothing else.
class tst_Relay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void signalIsRelayedWithItsValues_data();
    void signalIsRelayedWithItsValues();
    void furtherArgumentsAreIgnored_data();
    void furtherArgumentsAreIgnored();
    void misfitIsNotRelayed_data();
    void misfitIsNotRelayed();
    void signedValueIsNotRelayedAsUnsigned();
    void foreignAddressIsNotRelayed_data();
    void foreignAddressIsNotRelayed();
    void signalOfAnotherSenderIsNotRelayed_data();
    void signalOfAnotherSenderIsNotRelayed();
    void orderIsKept();
    void daemonMayStartLaterAndAgain_data();
    void daemonMayStartLaterAndAgain();
    void eachClientReceivesEverySignal();
    void deletingAClientKeepsTheSignalsOfTheOther();
    void statusChangedNeverFires();

private:
    bool emitRow(const ClientSignal &row, int round, const Lines &more = Lines())
    {
        return ::emitRow(m_daemons.data(), row, round, more);
    }

    // The client's emissions so far.
    Lines relayed()
    {
        return m_daemons->passFence() ? m_recorder->take() : Lines() << "the fence is lost";
    }

    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
    QScopedPointer<SignalRecorder> m_recorder;
};

static QByteArray emissionOf(const ClientSignal &row, int round)
{
    return emission(row.signature, values(argumentSamples(row.signature, round)));
}

void tst_Relay::initTestCase()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
    m_recorder.reset(new SignalRecorder(m_client.data()));
}

void tst_Relay::cleanupTestCase()
{
    m_recorder.reset();
    m_client.reset();
    m_daemons.reset();
}

void tst_Relay::signalIsRelayedWithItsValues_data() { addRows(); }

void tst_Relay::signalIsRelayedWithItsValues()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    Lines expected;
    for (int round = 0; round < 5; ++round) {
        QVERIFY(emitRow(row, round));
        expected.append(emissionOf(row, round));
    }
    QCOMPARE(relayed(), expected);
}

void tst_Relay::furtherArgumentsAreIgnored_data() { addRows(); }

void tst_Relay::furtherArgumentsAreIgnored()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    QVERIFY(emitRow(row, 1, Lines() << "42"));
    QVERIFY(emitRow(row, 2,
                    Lines() << "'text'"
                            << "[1, 2]"
                            << "(true, 'x')"));
    QCOMPARE(relayed(), Lines() << emissionOf(row, 1) << emissionOf(row, 2));
}

void tst_Relay::misfitIsNotRelayed_data()
{
    QTest::addColumn<int>("index");
    for (const ClientSignal &row : clientSignals) {
        if (row.member && !QByteArray(row.parameters).isEmpty()) {
            QTest::newRow(row.member) << row.index;
        }
    }
}

void tst_Relay::misfitIsNotRelayed()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    // No structures and no lists of other types: with those, Qt itself aborts the receiver.
    QCOMPARE(emitMisfits(m_daemons.data(), row, simpleMisfits),
             simpleMisfitCount * parameterCount(row));
    QCOMPARE(relayed(), Lines());
}

void tst_Relay::signedValueIsNotRelayedAsUnsigned()
{
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4Dac0", "(5,)"));
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4Dac0", "(uint32 5,)"));
    QCOMPARE(relayed(), Lines() << emission("M4Dac0(quint32)", QVariantList() << 5u));
}

void tst_Relay::foreignAddressIsNotRelayed_data() { addRows(); }

void tst_Relay::foreignAddressIsNotRelayed()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    WirePeer &daemon = (*m_daemons)[row.server];
    const QByteArray interface = identities[row.server].interface;
    const QByteArray otherInterface = identities[(row.server + 1) % ServerCount].interface;
    const QByteArray member = row.member;
    const QByteArray body = wireBody(argumentSamples(row.signature, 1));

    QVERIFY(daemon.emitSignal("/a", interface, member, body));
    QVERIFY(daemon.emitSignal("/", otherInterface, member, body));
    QVERIFY(daemon.emitSignal("/", interface.mid(6) + ".x", member, body));
    QVERIFY(daemon.emitSignal("/", interface, member.mid(member.indexOf('_') + 1), body));
    QVERIFY(daemon.emitSignal("/", interface, member.toLower(), body));
    QVERIFY(daemon.emitSignal("/", interface, member + "Signal", body));
    QCOMPARE(relayed(), Lines());
}

void tst_Relay::signalOfAnotherSenderIsNotRelayed_data() { addRows(); }

void tst_Relay::signalOfAnotherSenderIsNotRelayed()
{
    QFETCH(int, index);
    const ClientSignal &row = clientSignals[index];
    const QByteArray interface = identities[row.server].interface;
    const QByteArray body = wireBody(argumentSamples(row.signature, 1));

    WirePeer stranger;
    QVERIFY(stranger.emitSignal("/", interface, row.member, body));
    WirePeer &otherDaemon = (*m_daemons)[(row.server + 1) % ServerCount];
    QVERIFY(otherDaemon.emitSignal("/", interface, row.member, body));
    QCOMPARE(relayed(), Lines());
}

void tst_Relay::orderIsKept()
{
    Lines expected;
    for (const ClientSignal &row : clientSignals) {
        if (row.member) {
            QVERIFY(emitRow(row, 0));
            expected.append(emissionOf(row, 0));
        }
    }
    QCOMPARE(relayed(), expected);
}

void tst_Relay::daemonMayStartLaterAndAgain_data() { addServers(); }

void tst_Relay::daemonMayStartLaterAndAgain()
{
    QFETCH(int, server);
    const ClientSignal &row = rowOf(server);
    m_daemons->stop(server);
    HNIPC client(0);
    SignalRecorder recorder(&client);
    for (int start = 0; start < 3; ++start) {
        m_daemons->start(server);
        QVERIFY(emitRow(row, 1));
        QVERIFY(m_daemons->passFence());
        QCOMPARE(recorder.take(), Lines() << emissionOf(row, 1));

        // Signals of a process that has lost the name are ignored.
        m_daemons->stop(server);
        QVERIFY(emitRow(row, 1));
        QVERIFY(m_daemons->passFence());
        QCOMPARE(recorder.take(), Lines());
    }
    m_daemons->start(server);
    relayed();
}

void tst_Relay::eachClientReceivesEverySignal()
{
    HNIPC client(0);
    SignalRecorder recorder(&client);
    Lines expected;
    for (const ClientSignal &row : clientSignals) {
        if (row.member) {
            QVERIFY(emitRow(row, 1));
            expected.append(emissionOf(row, 1));
        }
    }
    QCOMPARE(relayed(), expected);
    QCOMPARE(recorder.take(), expected);
}

void tst_Relay::deletingAClientKeepsTheSignalsOfTheOther()
{
    delete new HNIPC(0);
    const ClientSignal &row = rowOf(SUPPLYD);
    QVERIFY(emitRow(row, 1));
    QCOMPARE(relayed(), Lines() << emissionOf(row, 1));
}

void tst_Relay::statusChangedNeverFires()
{
    QVERIFY(emitStatusChanged(m_daemons.data()));
    QCOMPARE(relayed(), Lines());
}

HNIPC_TEST_MAIN(tst_Relay)

#include "tst_relay.moc"
