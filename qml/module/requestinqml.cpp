// SPDX-License-Identifier: MIT
#include "requestinqml.h"

#include "valueinqml.h"

#include <QtQml/QQmlEngine>
#include <QtQml/QQmlInfo>

// Converts a list of any kind of JavaScript; undefined and null are empty lists. Returns false for
// anything else.
static bool readList(const QJSValue &value, QVariantList *list)
{
    if (value.isUndefined() || value.isNull()) {
        return true;
    }
    const QVariant variant = value.toVariant();
    const int type = variant.userType();
    *list = variant.toList();
    return type == QMetaType::QVariantList || type == QMetaType::QStringList;
}

void CallInQml::call(const QString &method, const QJSValue &parameters, const QJSValue &callback)
{
    QQmlEngine *engine = qmlEngine(parent());
    if (!engine) {
        return;
    }
    QVariantList list;
    if (!readList(parameters, &list)) {
        engine->throwError(QJSValue::TypeError,
                           QStringLiteral("HNIPCRequest.call(): the parameters are not a list"));
        return;
    }
    if (!callback.isUndefined() && !callback.isNull() && !callback.isCallable()) {
        engine->throwError(QJSValue::TypeError,
                           QStringLiteral("HNIPCRequest.call(): the callback is not a function"));
        return;
    }
    auto *request = new HNIPCRequest(this);
    request->setMethod(method);
    request->setArguments(list);
    connect(request, &HNIPCRequest::finished, this, [this, request, callback]() {
        request->deleteLater();
        QQmlEngine *current = qmlEngine(parent()); // null after the caller's document was destroyed
        if (!current || !callback.isCallable()) {
            return;
        }
        QJSValue answer = current->newObject();
        answer.setProperty(QStringLiteral("done"), request->isDone());
        answer.setProperty(QStringLiteral("outcome"), int(request->outcome()));
        answer.setProperty(QStringLiteral("reason"), int(request->reason()));
        answer.setProperty(QStringLiteral("value"),
                           current->toScriptValue(readableInQml(request->value())));
        answer.setProperty(QStringLiteral("errorName"), request->errorName());
        answer.setProperty(QStringLiteral("errorText"), request->errorText());
        const QPointer<QObject> caller = parent(); // the callback may destroy it
        const QJSValue result = QJSValue(callback).call({ answer });
        if (result.isError() && caller) {
            qmlWarning(caller) << result.toString();
        }
    });
    request->send();
}

RequestInQml::RequestInQml()
{
    connect(this, &HNIPCRequest::stateChanged, this, [this]() { hold(); });
    // Queued: an object that JavaScript is collecting no longer has handlers.
    connect(
        this, &HNIPCRequest::finished, this, [this]() { release(); }, Qt::QueuedConnection);
}

// Keeps a JavaScript reference to the object. It ends with the engine, and destroy() still works.
void RequestInQml::hold()
{
    QQmlEngine *engine = qmlEngine(this);
    if (isPending() && !parent() && engine
        && QQmlEngine::objectOwnership(this) == QQmlEngine::JavaScriptOwnership) {
        m_self = engine->toScriptValue<QObject *>(this);
    }
}

void RequestInQml::release()
{
    if (!isPending()) {
        m_self = QJSValue();
    }
}
