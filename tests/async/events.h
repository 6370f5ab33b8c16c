// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EVENTS_H
#define HNIPC_TESTS_EVENTS_H

#include "expected/clientsignals.h"
#include "expected/samples.h"
#include "support/signalrecorder.h"
#include "support/waituntil.h"
#include "support/wirepeer.h"

#include <hnipc/hnipcevents.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <atomic>
#include <thread>

inline bool waitUntilListening(const HNIPCEvents &events)
{
    return waitUntil([&events]() { return events.isListening(); });
}

inline QByteArray listeningChangedTo(bool listening)
{
    return emission("listeningChanged(bool)", QVariantList() << listening);
}

// The emissions of an object for a signal with these values.
inline Lines relayed(const QByteArray &signature, const QVariantList &values)
{
    const QString name = QString::fromLatin1(signature.left(signature.indexOf('(')));
    return Lines() << emission(signature, values)
                   << emission("received(QString,QVariantList)",
                               QVariantList() << name << QVariant(values));
}

inline Lines relayed(const Expected::ClientSignal &row, int round)
{
    return relayed(row.signature,
                   Expected::values(Expected::argumentSamples(row.signature, round)));
}

// The emissions of M4Dac0 with this number.
inline Lines relayedNumber(quint32 number)
{
    return relayed("M4Dac0(quint32)", QVariantList() << number);
}

inline bool emitNumber(WirePeer *m4, quint32 number)
{
    return m4->emitSignal("/", Expected::identities[Expected::M4].interface, "M4_M4Dac0",
                          "(uint32 " + QByteArray::number(number) + ",)");
}

// Sends the signal M4_Dac0 with the numbers from 1 on, without pauses, while the object lives.
class NumberSender
{
public:
    explicit NumberSender(WirePeer *m4)
        : m_begun(0), m_isEnding(false), m_thread([this, m4]() {
              while (!m_isEnding && emitNumber(m4, ++m_begun)) {}
          })
    {
    }

    ~NumberSender() { stop(); }

    // The last number whose sending has begun. No larger number has been sent yet.
    quint32 begun() const { return m_begun; }

    // Stops sending. Returns how many numbers have been sent.
    quint32 stop()
    {
        m_isEnding = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        return m_begun;
    }

private:
    std::atomic<quint32> m_begun;
    std::atomic<bool> m_isEnding;
    std::thread m_thread;
};

// Collects the numbers that an object emits.
class NumberCollector : public QObject
{
    Q_OBJECT

public:
    explicit NumberCollector(const HNIPCEvents *events)
    {
        connect(events, SIGNAL(M4Dac0(quint32)), SLOT(onNumber(quint32)));
    }

    quint32 last() const { return numbers.isEmpty() ? 0 : numbers.last(); }

    // True if the numbers increase and none above this one is missing.
    bool areCompleteAfter(quint32 number) const
    {
        for (int i = 1; i < numbers.size(); ++i) {
            if (numbers.at(i) <= numbers.at(i - 1)
                || (numbers.at(i) > number + 1 && numbers.at(i) != numbers.at(i - 1) + 1)) {
                return false;
            }
        }
        return numbers.isEmpty() || numbers.first() <= number + 1;
    }

    QList<quint32> numbers;

private Q_SLOTS:
    void onNumber(const quint32 &number) { numbers.append(number); }
};

#endif
