// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_SERVERINTERFACETEST_H
#define HNIPC_TESTS_SERVERINTERFACETEST_H

#include "expected/identities.h"
#include "expected/pulses.h"
#include "expected/serverslots.h"
#include "outbox.h"
#include "recorder.h"

#include <hnipc/hnipcserver.h>

// What holds for the interfaces of all daemons: the tables against the meta-object, against the
// introspection, and against every call and signal on the wire. The tests of the daemons derive
// from it and add what is particular to one.
class ServerInterfaceTest : public QObject
{
    Q_OBJECT

protected:
    template <int slotCount, int pulseCount>
    ServerInterfaceTest(Expected::Server daemon, const QMetaObject &metaObject,
                        const Expected::ServerSlot (&slotTable)[slotCount],
                        const Expected::Pulse (&pulseTable)[pulseCount])
        : m_daemon(daemon), m_interface(Expected::identities[daemon].interface),
          m_metaObject(&metaObject), m_server(0), m_recorder(0)
    {
        for (const Expected::ServerSlot &row : slotTable) {
            m_slots.append(row);
        }
        for (const Expected::Pulse &row : pulseTable) {
            m_pulses.append(row);
        }
    }

    // A concrete server object that is a Recorder, too.
    virtual HNIPCServer *create(QObject *parent) = 0;

    HNIPCServer *server() const;
    Recorder *recorder() const;

    // Calls the server from the other end of the bus.
    WireMessage call(const QByteArray &member, const QByteArray &body = "()");
    // The signals that this process sent since the last call, one a line.
    QByteArray sentSignals();
    // Such a line for a signal that the server broadcasts.
    QByteArray signalLine(const QByteArray &member, const QByteArray &signature = QByteArray(),
                          const QByteArray &body = "()") const;

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void claimsItsNameAndIsExported();
    void belongsToItsParent();
    void metaObjectHasOnlyTheSlots();
    void slotIsDeclared_data();
    void slotIsDeclared();
    void introspectionShowsTheSlotsAndNothingElse();
    void operationTakesAndAnswersOnTheWire_data();
    void operationTakesAndAnswersOnTheWire();
    void everyPulseHasItsSlot();
    void pulseSendsItsSignal_data();
    void pulseSendsItsSignal();
    void remotePulseSendsItsSignalAndAnswersTrue_data();
    void remotePulseSendsItsSignalAndAnswersTrue();
    void otherArgumentsAreRefused_data();
    void otherArgumentsAreRefused();

private:
    void addRows(bool (*selects)(const Expected::ServerSlot &));
    bool isSlot(const QByteArray &signature) const;
    Expected::Pulse pulseOf(const Expected::ServerSlot &slot) const;
    void pulse(bool (ServerInterfaceTest::*callWith)(int, int));
    bool callInProcess(int index, int round);
    bool callRemotely(int index, int round);

    const Expected::Server m_daemon;
    const QByteArray m_interface;
    const QMetaObject *const m_metaObject;
    QList<Expected::ServerSlot> m_slots;
    QList<Expected::Pulse> m_pulses;
    WirePeer m_peer;
    Outbox m_outbox;
    HNIPCServer *m_server;
    Recorder *m_recorder;
};

#endif
