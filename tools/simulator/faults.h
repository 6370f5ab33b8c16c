// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_FAULTS_H
#define HNIPC_SIMULATOR_FAULTS_H

#include <QtCore/QMap>
#include <QtCore/QMetaMethod>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusContext>

#include <functional>

/// What goes wrong with remote calls of a daemon, by the name of the member.
class Faults
{
public:
    /// Sets the fault of a member, or of "*" for all that have none of their own. Answers what is
    /// wrong with the request, if anything.
    QString set(const QString &member, const QString &kind, const QVariant &detail);
    /// Sets the shape of the supply records that are answered from here on.
    QString setShape(const QString &shape);
    QStringList list() const;
    void reset();

    /// Answers one call as the faults have it. @p carryOut carries out the operation and leaves its
    /// result at @p result.
    void answer(const QDBusContext &call, const QMetaMethod &operation, const void *result,
                const std::function<void()> &carryOut) const;

private:
    enum Kind { Delay, Never, Error, WrongType, Die, None }; // in the order of their names

    struct Fault
    {
        Kind kind = None;
        int delay = 0; // ms
        QString errorName;
        QString errorText;
        QString spelled; // as it was asked for
    };

    QMap<QString, Fault> m_faults;
    QString m_shape;
};

#endif
