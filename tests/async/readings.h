// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_READINGS_H
#define HNIPC_TESTS_READINGS_H

#include "support/listener.h"
#include "support/waituntil.h"

#include <hnipc/hnipcreading.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMetaEnum>
#include <QtCore/QStringList>
#include <QtTest/QTest>

// The properties of a reading in one line: "current int 7", "known int 7" if the value is not
// current, "unknown", and the reason: "unknown DaemonError NAME: TEXT".
inline QByteArray shown(const HNIPCReading &reading)
{
    QByteArray line = !reading.isKnown() ? "unknown" : reading.isCurrent() ? "current" : "known";
    if (reading.isCurrent() && !reading.isKnown()) {
        line += ", but current";
    }
    const QVariant value = reading.value();
    if (value.isValid()) {
        line += QByteArray(reading.isKnown() ? " " : ", but ") + value.typeName() + ' ';
        line += value.userType() == QMetaType::QStringList
            ? value.toStringList().join(QLatin1String(",")).toUtf8()
            : value.toString().toUtf8();
    }
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    if (reading.reason() != HNIPCRequest::NoReason) {
        line += ' ';
        line += meta.enumerator(meta.indexOfEnumerator("Reason")).valueToKey(reading.reason());
    }
    if (!reading.errorName().isEmpty() || !reading.errorText().isEmpty()) {
        line += ' ' + reading.errorName().toUtf8() + ": " + reading.errorText().toUtf8();
    }
    return line;
}

// Waits until a reading shows this line. Returns the line that it shows then.
inline QByteArray awaited(const HNIPCReading &reading, const QByteArray &expected)
{
    waitUntil([&]() { return shown(reading) == expected; });
    return shown(reading);
}

#define VERIFY_SHOWS(reading, expected)                                                            \
    QCOMPARE(awaited(reading, QByteArray(expected)), QByteArray(expected))

// The words of a text, such as the names of signals.
inline QStringList words(const char *text)
{
    return *text ? QString::fromLatin1(text).split(QLatin1Char(' ')) : QStringList();
}

// A reading that records its line at each changed().
class RecordedReading : public HNIPCReading
{
public:
    explicit RecordedReading(const char *method = "", const char *signalNames = "",
                             int valueArgument = -1)
        : m_listener(this, SIGNAL(changed()), [this]() { m_history.append(shown(*this)); })
    {
        setMethod(QLatin1String(method));
        setSignalNames(words(signalNames));
        setValueArgument(valueArgument);
    }

    QList<QByteArray> takeHistory()
    {
        const QList<QByteArray> result = m_history;
        m_history.clear();
        return result;
    }

    // Waits until as many lines are recorded. Takes all that are recorded then.
    QList<QByteArray> awaitedHistory(const QList<QByteArray> &expected)
    {
        waitUntil([&]() { return m_history.size() >= expected.size(); });
        return takeHistory();
    }

private:
    QList<QByteArray> m_history;
    Listener m_listener;
};

// The reading changes in this way, and in no other.
#define VERIFY_HISTORY(reading, ...)                                                               \
    QCOMPARE((reading).awaitedHistory(QList<QByteArray>({ __VA_ARGS__ })),                         \
             QList<QByteArray>({ __VA_ARGS__ }))

#endif
