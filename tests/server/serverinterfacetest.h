// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_SERVERINTERFACETEST_H
#define HNIPC_TESTS_SERVERINTERFACETEST_H

#include "contract/interfaces.h"
#include "outbox.h"
#include "recorder.h"

#include <hnipc/hnipcserver.h>

// Compares each call and signal on the wire with interfaces/, for each daemon. tst_contract
// compares the meta-object and the introspection with interfaces/. The tests of the daemons derive
// from this class and add the cases of one daemon.
class ServerInterfaceTest : public QObject
{
    Q_OBJECT

protected:
    ServerInterfaceTest(Expected::Server daemon, const QMetaObject &metaObject)
        : m_daemon(daemon), m_interface(Expected::identities[daemon].interface),
          m_metaObject(&metaObject), m_slots(Expected::serverSlots(daemon)), m_server(0),
          m_recorder(0)
    {
    }

    // Returns a concrete server object that is also a Recorder.
    virtual HNIPCServer *create(QObject *parent) = 0;

    HNIPCServer *server() const;
    Recorder *recorder() const;

    // Calls the server from the other end of the bus.
    WireMessage call(const QByteArray &member, const QByteArray &body = "()");
    // The signals that this process sent since the previous call of this function, one a line.
    QByteArray sentSignals();
    // The line of a signal that the server broadcasts.
    QByteArray signalLine(const QByteArray &member, const QByteArray &signature = QByteArray(),
                          const QByteArray &body = "()") const;

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void claimsItsNameAndIsExported();
    void belongsToItsParent();
    void metaObjectHasOnlyTheSlots();
    void operationTakesAndAnswersOnTheWire_data();
    void operationTakesAndAnswersOnTheWire();
    void pulseSendsItsSignal_data();
    void pulseSendsItsSignal();
    void remotePulseSendsItsSignalAndAnswersTrue_data();
    void remotePulseSendsItsSignalAndAnswersTrue();
    void otherArgumentsAreRefused_data();
    void otherArgumentsAreRefused();

private:
    void addRows(bool (*selects)(const Expected::ServerSlot &));
    bool isSlot(const QByteArray &signature) const;
    void pulse(bool (ServerInterfaceTest::*callWith)(int, int));
    bool callInProcess(int index, int round);
    bool callRemotely(int index, int round);

    const Expected::Server m_daemon;
    const QByteArray m_interface;
    const QMetaObject *const m_metaObject;
    const QList<Expected::ServerSlot> m_slots;
    WirePeer m_peer;
    Outbox m_outbox;
    HNIPCServer *m_server;
    Recorder *m_recorder;
};

#endif
