// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_FAULTS_H
#define HNIPC_SIMULATOR_FAULTS_H

#include <QtCore/QMap>
#include <QtCore/QMetaMethod>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusContext>

#include <functional>

/// The faults of a daemon's methods, by the name of the method.
class Faults
{
public:
    /// Sets the fault of a method, or with "*" of all methods that have none of their own. Returns an
    /// error message, empty on success.
    QString set(const QString &member, const QString &kind, const QVariant &detail);
    /// Sets the shape of the supply records in further replies.
    QString setShape(const QString &shape);
    QStringList list() const;
    void reset();

    /// Replies to a call according to the faults. @p carryOut carries out the operation and writes its
    /// result to @p result.
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
        QString spelled; // for list()
    };

    QMap<QString, Fault> m_faults;
    QString m_shape;
};

#endif
