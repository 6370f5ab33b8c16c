// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_LISTENER_H
#define HNIPC_TESTS_LISTENER_H

#include <QtCore/QObject>

#include <functional>

// Calls a function when a signal arrives.
class Listener : public QObject
{
    Q_OBJECT

public:
    Listener(QObject *sender, const char *signal, const std::function<void()> &action)
        : m_action(action)
    {
        connect(sender, signal, SLOT(onSignal()));
    }

private Q_SLOTS:
    void onSignal() { m_action(); }

private:
    std::function<void()> m_action;
};

#endif
