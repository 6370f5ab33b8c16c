// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_DAEMON_H
#define HNIPC_SIMULATOR_DAEMON_H

#include "faults.h"
#include "readings.h"

#include <hnipc/hnipcserver.h>

/// A simulated daemon, as the world around it sees it. The members that answer a text answer what
/// is wrong with the request, and an empty text where nothing is.
class Daemon : protected QDBusContext
{
public:
    virtual ~Daemon() {}

    virtual HNIPCServer &server() = 0;
    virtual Readings &readings() = 0;
    /// The name is ours, and calls are about to be served.
    virtual void begin() {}

    virtual QString press(const QString &button);
    virtual QString load(const QString &supplySku, const QStringList &ribbonSkus);
    virtual QString print(uint labels);
    virtual QString malform(const QString &shape);

    /// Sends a signal of the daemon's interface by the name that clients know, by the daemon's own
    /// pulse operation.
    virtual QString broadcast(const QString &signal, const QVariantList &arguments);
    /// Arguments for such a signal: @p number where they are numbers. None for an unknown signal.
    QVariantList exampleOf(const QString &signal, int number);

    QString setFault(const QString &member, const QString &kind, const QVariant &detail);
    Faults &faults() { return m_faults; }

protected:
    /// Invokes an operation of the interface, past the faults.
    virtual int invoke(int method, void **arguments) = 0;

    Faults m_faults;
};

/// The daemon of one interface. Every remote call arrives through the meta-call, the pulse
/// operations included, so the faults stand there once and the operations know nothing of them.
/// It has no meta-object of its own: what is exported is the library's interface alone.
template <typename Interface>
class DaemonOf : public Interface, public Daemon
{
public:
    HNIPCServer &server() override { return *this; }

    void *qt_metacast(const char *name) override
    {
        // By this Qt finds who wants to know of the call that is being served.
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

    /// Has what a model announces sent as signals.
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
