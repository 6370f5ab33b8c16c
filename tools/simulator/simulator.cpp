// SPDX-License-Identifier: MIT
#include "simulator.h"

#include "daemon.h"

#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <climits>

namespace {

const int portion = 500; // signals of a flood

// The value in nested variants, or in a list whose type is not registered.
QVariant plain(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QDBusVariant>()) {
        return plain(value.value<QDBusVariant>().variant());
    }
    if (value.userType() != qMetaTypeId<QDBusArgument>()) {
        return value;
    }
    const QDBusArgument argument = value.value<QDBusArgument>();
    QVariantList result;
    if (argument.currentType() == QDBusArgument::ArrayType) {
        argument.beginArray();
        while (!argument.atEnd()) {
            result += plain(argument.asVariant());
        }
        argument.endArray();
    }
    return result;
}

} // namespace

Simulator::Simulator(Daemon *daemon) : m_daemon(daemon) {}

void Simulator::answer(const QString &wrong)
{
    if (!wrong.isEmpty()) {
        sendErrorReply(QStringLiteral("org.hnipc.Simulator.Error"), wrong);
    }
}

int Simulator::find(const QString &name)
{
    const int reading = m_daemon->readings().find(name);
    if (reading < 0) {
        answer(QStringLiteral("no reading or switch is called \"%1\"").arg(name));
    }
    return reading;
}

void Simulator::set(const QString &name, const QDBusVariant &value)
{
    const int reading = find(name);
    if (reading >= 0) {
        answer(m_daemon->readings().setFromOutside(reading, plain(value.variant())));
    }
}

QDBusVariant Simulator::get(const QString &name)
{
    const int reading = find(name);
    return QDBusVariant(reading >= 0 ? m_daemon->readings().value(reading) : QVariant(QString()));
}

QStringList Simulator::names() { return m_daemon->readings().names(); }

void Simulator::press(const QString &button) { answer(m_daemon->press(button)); }

void Simulator::load(const QString &supplySku, const QStringList &ribbonSkus)
{
    answer(m_daemon->load(supplySku, ribbonSkus));
}

void Simulator::print(uint labels) { answer(m_daemon->print(labels)); }

void Simulator::emit(const QString &signal, const QVariantList &arguments)
{
    QVariantList values;
    for (const QVariant &argument : arguments) {
        values += plain(argument);
    }
    answer(m_daemon->broadcast(signal, values));
}

void Simulator::fault(const QString &member, const QString &kind, const QDBusVariant &detail)
{
    answer(m_daemon->setFault(member, kind, plain(detail.variant())));
}

void Simulator::flood(const QString &signal, uint count)
{
    Flood flood = { signal, 0, count };
    const QString wrong = count > 0 ? sendNext(&flood) : QString();
    if (!wrong.isEmpty()) {
        answer(wrong);
        return;
    }
    m_flood = flood;
    floodOn();
}

QString Simulator::sendNext(Flood *flood)
{
    const int number = static_cast<int>(flood->sent++);
    return m_daemon->broadcast(flood->signal, m_daemon->exampleOf(flood->signal, number));
}

// Sends the flood in portions. The bus replies to GetId when it has received all signals before it, so
// at most one portion waits here, and calls are served in between.
void Simulator::floodOn()
{
    if (m_flood.sent >= m_flood.count) {
        return;
    }
    const QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"));
    const int forEver = INT_MAX;
    m_fence.reset(
        new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(question, forEver)));
    connect(m_fence.get(), &QDBusPendingCallWatcher::finished, this, [this]() {
        const bool isThere = !m_fence->isError();
        m_fence.release()->deleteLater(); // this runs in its signal
        for (int i = 0; isThere && i < portion && m_flood.sent < m_flood.count; ++i) {
            sendNext(&m_flood);
        }
        if (isThere) {
            floodOn();
        }
    });
}

void Simulator::malform(const QString &shape) { answer(m_daemon->malform(shape)); }

QStringList Simulator::faults() { return m_daemon->faults().list(); }

void Simulator::reset()
{
    m_daemon->faults().reset();
    m_fence.reset();
}
