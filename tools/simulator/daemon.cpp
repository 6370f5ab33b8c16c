// SPDX-License-Identifier: MIT
#include "daemon.h"

#include "values.h"

#include <QtCore/QVarLengthArray>

namespace {

// The pulse operation that emits the signal with this number of arguments; invalid if there is none.
QMetaMethod pulseOperation(const QMetaObject &interface, const QString &signal, int arguments)
{
    const QByteArray name = "pulse" + signal.toLatin1() + "Signal";
    for (int i = interface.methodOffset(); i < interface.methodCount(); ++i) {
        const QMetaMethod method = interface.method(i);
        if (method.name() == name && (arguments < 0 || method.parameterCount() == arguments)) {
            return method;
        }
    }
    return QMetaMethod();
}

} // namespace

QString Daemon::press(const QString &) { return QStringLiteral("only ioexpd has buttons"); }

QString Daemon::load(const QString &, const QStringList &)
{
    return QStringLiteral("only supplyd has supplies");
}

QString Daemon::print(uint) { return QStringLiteral("only m4 prints"); }

QString Daemon::malform(const QString &)
{
    return QStringLiteral("only supplyd has supply records");
}

QString Daemon::broadcast(const QString &signal, const QVariantList &arguments)
{
    const QMetaObject &interface = *server().metaObject();
    const int count = static_cast<int>(arguments.size());
    const QMetaMethod pulse = pulseOperation(interface, signal, count);
    if (!pulse.isValid()) {
        const QMetaMethod other = pulseOperation(interface, signal, -1);
        return other.isValid()
            ? QStringLiteral("%1 takes %2, not %3")
                  .arg(signal,
                       other.parameterCount() == 1
                           ? QStringLiteral("1 argument")
                           : QStringLiteral("%1 arguments").arg(other.parameterCount()))
                  .arg(count)
            : QStringLiteral("no signal is called \"%1\"").arg(signal);
    }
    QVariantList values = arguments;
    bool sent = false;
    QVarLengthArray<void *, 3> pointers = { &sent };
    for (int i = 0; i < count; ++i) {
        const int type = pulse.parameterType(i);
        if (!fitToType(&values[i], type)) {
            return QStringLiteral("argument %1 of %2 has to be %3")
                .arg(i + 1)
                .arg(signal, nameOfType(type));
        }
        pointers.append(values[i].data());
    }
    invoke(pulse.methodIndex(), pointers.data());
    return sent ? QString() : QStringLiteral("the bus did not accept the signal");
}

QVariantList Daemon::exampleOf(const QString &signal, int number)
{
    const QMetaMethod pulse = pulseOperation(*server().metaObject(), signal, -1);
    QVariantList result;
    for (int i = 0; pulse.isValid() && i < pulse.parameterCount(); ++i) {
        const int type = pulse.parameterType(i);
        QVariant argument = number;
        result += fitToType(&argument, type) ? argument : valueOfType(type);
    }
    return result;
}

QString Daemon::setFault(const QString &member, const QString &kind, const QVariant &detail)
{
    const QMetaObject &interface = *server().metaObject();
    for (int i = interface.methodOffset(); i < interface.methodCount(); ++i) {
        if (member == QLatin1String("*") || member.toLatin1() == interface.method(i).name()) {
            return m_faults.set(member, kind, detail);
        }
    }
    return QStringLiteral("no method is called \"%1\"").arg(member);
}
