// SPDX-License-Identifier: MIT
#include "faults.h"

#include "malformed.h"
#include "values.h"

#include "common/daemons.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QRegularExpression>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <cstdlib>

namespace {

// The name and the text, from two strings or from one with a space between them.
QStringList nameAndText(const QVariant &detail)
{
    if (detail.userType() == QMetaType::QString) {
        const QString text = detail.toString();
        return { text.section(QLatin1Char(' '), 0, 0), text.section(QLatin1Char(' '), 1) };
    }
    return detail.toStringList();
}

bool isErrorName(const QString &name)
{
    static const QRegularExpression form(
        QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*(\\.[A-Za-z_][A-Za-z0-9_]*)+$"));
    return form.match(name).hasMatch();
}

} // namespace

QString Faults::set(const QString &member, const QString &kind, const QVariant &detail)
{
    const QStringList kinds = Toolkit::faultKinds();
    if (!kinds.contains(kind)) {
        return QStringLiteral("\"%1\" is not one of %2").arg(kind, kinds.join(QLatin1String(", ")));
    }
    Fault fault;
    fault.kind = static_cast<Kind>(kinds.indexOf(kind));
    fault.spelled = kind;
    if (fault.kind == Delay) {
        QVariant delay = detail;
        if (!fitToType(&delay, QMetaType::Int) || delay.toInt() < 0) {
            return QStringLiteral("the detail of delay has to be a number of milliseconds");
        }
        fault.delay = delay.toInt();
        fault.spelled += QStringLiteral(" %1").arg(fault.delay);
    } else if (fault.kind == Error) {
        const QStringList parts = nameAndText(detail);
        if (parts.size() != 2 || !isErrorName(parts.at(0))) {
            return QStringLiteral(
                "the detail of error has to be the name of a D-Bus error and a text");
        }
        fault.errorName = parts.at(0);
        fault.errorText = parts.at(1);
        fault.spelled += QLatin1Char(' ') + parts.join(QLatin1Char(' '));
    }
    if (fault.kind == None) {
        m_faults.remove(member);
    } else {
        m_faults[member] = fault;
    }
    return QString();
}

QString Faults::setShape(const QString &shape)
{
    const QStringList shapes = Toolkit::recordShapes();
    if (!shapes.contains(shape)) {
        return QStringLiteral("\"%1\" is not one of %2")
            .arg(shape, shapes.join(QLatin1String(", ")));
    }
    m_shape = shape == QLatin1String("none") ? QString() : shape;
    return QString();
}

QStringList Faults::list() const
{
    QStringList result;
    for (auto it = m_faults.cbegin(); it != m_faults.cend(); ++it) {
        result += it.key() + QLatin1Char(' ') + it->spelled;
    }
    if (!m_shape.isEmpty()) {
        result += QLatin1String("malform ") + m_shape;
    }
    return result;
}

void Faults::reset()
{
    m_faults.clear();
    m_shape.clear();
}

void Faults::answer(const QDBusContext &call, const QMetaMethod &operation, const void *result,
                    const std::function<void()> &carryOut) const
{
    const Fault fault = m_faults.value(call.message().member(), m_faults.value("*"));
    switch (fault.kind) {
    case Never:
        call.setDelayedReply(true);
        return;
    case Error:
        call.sendErrorReply(fault.errorName, fault.errorText);
        return;
    case Die:
        std::_Exit(EXIT_FAILURE);
    default:
        carryOut();
    }

    const int type = operation.returnType();
    const bool isRecord = type == qMetaTypeId<SupplyInformation>() && !m_shape.isEmpty();
    if (fault.kind == None && !isRecord) {
        return;
    }
    QVariantList answer;
    if (isRecord) {
        answer = shapedRecord(m_shape, *static_cast<const SupplyInformation *>(result));
    } else if (type != QMetaType::Void) {
        answer = { valueOfType(type, result) };
    }
    if (fault.kind == WrongType) {
        answer = { type == QMetaType::QString ? QVariant(42) : QVariant("of another type") };
    }
    call.setDelayedReply(true);
    const QDBusConnection bus = call.connection();
    const QDBusMessage reply = call.message().createReply(answer);
    QTimer::singleShot(fault.delay, qApp, [bus, reply]() { bus.send(reply); });
}
