// SPDX-License-Identifier: MIT
#include "handlers.h"

#include "hnipceventsinqml.h"
#include "hnipcinqml.h"

ListRelay::ListRelay(QObject *parent, QObject *emitter, const QMetaMethod &twin)
    : QObject(parent), m_emitter(emitter), m_twin(twin)
{
}

void ListRelay::relay(const QStringList &list)
{
    m_twin.invoke(m_emitter, Qt::DirectConnection, Q_ARG(QVariant, readableInQml(list)));
}

void ListRelay::relay(const QStringList &list, const QString &text)
{
    m_twin.invoke(m_emitter, Qt::DirectConnection, Q_ARG(QVariant, readableInQml(list)),
                  Q_ARG(QString, text));
}

// Whether the engine has extended the object, which then has the twins itself. The object has to emit
// them: if the extension did, Qt 5 would count the notify signal of a property twice, and emit the
// wrong signals. The twins are the first methods of their class.
static bool isExtended(const QObject *object, const QMetaObject &twins)
{
    const QByteArray first = twins.method(twins.methodOffset()).methodSignature();
    return object->metaObject()->indexOfSignal(first.constData()) >= 0;
}

void connectTwins(QObject *object, const QMetaObject &from, QObject *extension,
                  const QMetaObject &twins)
{
    const bool isInObject = isExtended(object, twins);
    QObject *emitter = isInObject ? object : extension;
    const QMetaObject *emitted = emitter->metaObject();
    int i = isInObject ? from.methodCount() : twins.methodOffset();
    for (; i < emitted->methodCount(); ++i) {
        const int place = twins.indexOfSignal(emitted->method(i).methodSignature())
            - twins.methodOffset();
        if (place >= 0) {
            const QMetaMethod signal = from.method(from.methodOffset() + place);
            if (signal.parameterTypes().value(0) == "QStringList") {
                const char *slot = signal.parameterCount() == 1 ? "relay(QStringList)"
                                                                : "relay(QStringList,QString)";
                auto *relay = new ListRelay(extension, emitter, emitted->method(i));
                QObject::connect(
                    object, signal, relay,
                    relay->metaObject()->method(relay->metaObject()->indexOfSlot(slot)));
            } else {
                QObject::connect(object, signal, emitter, emitted->method(i));
            }
        }
    }
}

template <typename Handlers>
static QObject *handlersFor(QObject *client)
{
    if (isExtended(client, Handlers::staticMetaObject)) {
        return client;
    }
    QObject *handlers = client->findChild<Handlers *>(QString(), Qt::FindDirectChildrenOnly);
    return handlers ? handlers : new Handlers(client);
}

QObject *HandlersInQml::handlersOf(QObject *client)
{
    if (qobject_cast<HNIPC *>(client)) {
        return handlersFor<HNIPCInQml>(client);
    }
    return qobject_cast<HNIPCEvents *>(client) ? handlersFor<HNIPCEventsInQml>(client) : nullptr;
}

// moc generates the extensions under the names of the classes that they extend.
#define HNIPC HNIPCInQml
#include "moc_hnipcinqml.cpp"
#undef HNIPC
#define HNIPCEvents HNIPCEventsInQml
#include "moc_hnipceventsinqml.cpp"
#undef HNIPCEvents
