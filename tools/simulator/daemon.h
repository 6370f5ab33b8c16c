// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_DAEMON_H
#define HNIPC_SIMULATOR_DAEMON_H

#include "faults.h"
#include "readings.h"

#include <hnipc/hnipcserver.h>

/// A simulated daemon, as the simulator interface uses it. Member functions that return a QString
/// return an error message, which is empty on success.
class Daemon : protected QDBusContext
{
public:
    virtual ~Daemon() {}

    virtual HNIPCServer &server() = 0;
    virtual Readings &readings() = 0;
    /// Called when this program owns the bus name, before the first call is served.
    virtual void begin() {}

    virtual QString press(const QString &button);
    virtual QString load(const QString &supplySku, const QStringList &ribbonSkus);
    virtual QString print(uint labels);
    virtual QString malform(const QString &shape);

    /// Emits a signal of the daemon's interface, with the daemon's own pulse operation. @p signal is
    /// the name that clients know.
    virtual QString broadcast(const QString &signal, const QVariantList &arguments);
    /// Example arguments for a signal: @p number for each number. Empty for an unknown signal.
    QVariantList exampleOf(const QString &signal, int number);

    QString setFault(const QString &member, const QString &kind, const QVariant &detail);
    Faults &faults() { return m_faults; }

protected:
    /// Invokes an operation of the interface, without the faults.
    virtual int invoke(int method, void **arguments) = 0;

    Faults m_faults;
};

/// The daemon of one interface. Every remote call, also of a pulse operation, passes qt_metacall().
/// So faults are applied in this one place, and the operations know nothing of them. The class has
/// no meta-object of its own, so only the library's interface is exported.
template <typename Interface>
class DaemonOf : public Interface, public Daemon
{
public:
    HNIPCServer &server() override { return *this; }

    void *qt_metacast(const char *name) override
    {
        // Qt looks for the QDBusContext with this function.
        return qstrcmp(name, "QDBusContext") == 0 ? static_cast<QDBusContext *>(this)
                                                  : Interface::qt_metacast(name);
    }

    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override
    {
        if (call != QMetaObject::InvokeMetaMethod || !calledFromDBus()) {
            return Interface::qt_metacall(call, id, arguments);
        }
        m_faults.answer(*this, this->metaObject()->method(id), arguments[0],
                        [=]() { invoke(id, arguments); });
        return -1;
    }

protected:
    int invoke(int method, void **arguments) override
    {
        return Interface::qt_metacall(QMetaObject::InvokeMetaMethod, method, arguments);
    }

    /// Connects a model, so that its announcements are emitted as signals.
    void announceFor(Readings &model)
    {
        QObject::connect(&model, &Readings::announced, this,
                         [this](const QString &signal, const QVariantList &arguments) {
                             const QString wrong = broadcast(signal, arguments);
                             if (!wrong.isEmpty()) {
                                 qFatal("announcing %s: %s", qPrintable(signal), qPrintable(wrong));
                             }
                         });
    }
};

#endif
