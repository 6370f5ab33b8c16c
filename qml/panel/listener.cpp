// SPDX-License-Identifier: MIT
#include "listener.h"

#include <hnipc/hnipc.h>

#include <QtCore/QMetaMethod>

namespace {

// One slot for each signal of the client, whatever they are: no list of them stands here.
class Ear : public QObject
{
public:
    Ear(HNIPC *printer, Listener *listener) : m_listener(listener)
    {
        const QMetaObject &client = HNIPC::staticMetaObject;
        for (int i = client.methodOffset(); i < client.methodCount(); ++i) {
            if (client.method(i).methodType() == QMetaMethod::Signal) {
                QMetaObject::connect(printer, i, this, metaObject()->methodCount() + i,
                                     Qt::DirectConnection);
            }
        }
    }

    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override
    {
        id = QObject::qt_metacall(call, id, arguments);
        if (id < 0 || call != QMetaObject::InvokeMetaMethod) {
            return id;
        }
        const QMetaMethod signal = HNIPC::staticMetaObject.method(id);
        QVariantList values;
        for (int i = 0; i < signal.parameterCount(); ++i) {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
            values += QVariant(signal.parameterType(i), arguments[i + 1]);
#else
            values += QVariant(signal.parameterMetaType(i), arguments[i + 1]);
#endif
        }
        emit m_listener->heard(QString::fromLatin1(signal.name()), values);
        return -1;
    }

private:
    Listener *m_listener;
};

} // namespace

Listener::~Listener()
{
    quit();
    wait();
}

bool Listener::stop(unsigned long patience)
{
    quit();
    return wait(patience);
}

void Listener::run()
{
    HNIPC printer;
    const Ear ear(&printer, this);
    emit listening();
    exec();
}
