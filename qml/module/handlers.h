// SPDX-License-Identifier: MIT
#ifndef HNIPC_QML_HANDLERS_H
#define HNIPC_QML_HANDLERS_H

#include <QtCore/QMetaMethod>
#include <QtCore/QObject>
#include <QtCore/QStringList>

/// Connects each signal of a class to its twin, for which QML finds the handler. @p object is of the
/// class @p from, and @p extension of the class @p twins. If the engine has extended @p object, it
/// emits the twins itself; otherwise @p extension does. The signals that have twins, and the twins,
/// are the first methods of their class, in the same order.
void connectTwins(QObject *object, const QMetaObject &from, QObject *extension,
                  const QMetaObject &twins);

/// Relays a signal that begins with a list of strings to its twin, whose list is an Array.
class ListRelay : public QObject
{
    Q_OBJECT

public:
    ListRelay(QObject *parent, QObject *emitter, const QMetaMethod &twin);

public Q_SLOTS:
    void relay(const QStringList &list);
    void relay(const QStringList &list, const QString &text);

private:
    QObject *m_emitter;
    QMetaMethod m_twin;
};

/**
 * Attached to HNIPC and HNIPCEvents: gives QML the handlers of an object that C++ has made. The
 * engine extends only objects that it makes itself.
 *
 *     Connections {
 *         target: HNIPCEvents.handlersOf(events)
 *         function onPrintButton() { feed.send(); }
 *     }
 */
class HandlersInQml : public QObject
{
    Q_OBJECT

public:
    explicit HandlersInQml(QObject *caller) : QObject(caller) {}

    /// The object that has the handlers of @p client, an HNIPC or HNIPCEvents: @p client itself if
    /// QML has created it. Null for null and for an object of another class.
    Q_INVOKABLE QObject *handlersOf(QObject *client);
};

#endif
