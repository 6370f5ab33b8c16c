// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_LISTENER_H
#define HNIPC_PANEL_LISTENER_H

#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtCore/QVariant>

/// Hears every signal of a client, in a thread of the client's own: a client waits for a daemon
/// that has its name and does not yet answer, and the screen is not to wait with it.
class Listener : public QThread
{
    Q_OBJECT

public:
    /// Waits for stop().
    ~Listener() override;

    /// False if the client still waits for a daemon after @p patience milliseconds.
    bool stop(unsigned long patience);

signals:
    /// From here on nothing is missed.
    void listening();
    void heard(const QString &signal, const QVariantList &arguments);

protected:
    void run() override;
};

#endif
