// SPDX-License-Identifier: MIT
#ifndef REQUESTINQML_H
#define REQUESTINQML_H

#include <hnipc/hnipcrequest.h>

#include <QtCore/QObject>
#include <QtQml/QJSValue>
#include <QtQml/qqml.h>

/**
 * Attached to HNIPCRequest: a single call in one line.
 *
 *     HNIPCRequest.call("forwardFeed", [400], function (answer) { text = answer.errorText; })
 */
class CallInQml : public QObject
{
    Q_OBJECT

public:
    /// @p caller is the QML object whose code makes the call.
    explicit CallInQml(QObject *caller) : QObject(caller) {}

    /// Sends a request. When it has finished, @p callback, if given, is called with an object that
    /// has its `done`, `outcome`, `reason`, `value`, `errorName` and `errorText`. If the calling
    /// object or the engine is destroyed before that, a call that has not been sent yet is not sent,
    /// and the callback is not called.
    Q_INVOKABLE void call(const QString &method, const QJSValue &parameters = QJSValue(),
                          const QJSValue &callback = QJSValue());
};

/// The request that QML creates. It has no meta-object of its own, so QML takes it for an
/// HNIPCRequest. JavaScript does not collect it while it is pending.
class RequestInQml : public HNIPCRequest
{
public:
    RequestInQml();

    static CallInQml *qmlAttachedProperties(QObject *caller) { return new CallInQml(caller); }

private:
    void hold();
    void release();

    QJSValue m_self; // the reference while the request is pending, otherwise undefined
};

QML_DECLARE_TYPEINFO(RequestInQml, QML_HAS_ATTACHED_PROPERTIES)

#endif
