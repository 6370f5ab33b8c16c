// SPDX-License-Identifier: MIT
#include "signalrecorder.h"
#include "qtmajors.h"
#include "signature.h"

#include <QtCore/QDebug>
#include <QtCore/QMetaMethod>
#include <QtCore/QThread>

// The recorder has a slot for each method of the sender, but no meta-object that names them.
static const int firstSlot = QObject::staticMetaObject.methodCount();

QByteArray emission(const QByteArray &signature, const QVariantList &arguments)
{
    QString text;
    QDebug debug(&text);
    for (const QVariant &argument : arguments) {
        debug << argument;
        if (argument.userType() == QMetaType::Double) {
            debug << QString::number(argument.toDouble(), 'g', 17);
        }
    }
    return withoutAliases(signature) + ' ' + text.toUtf8();
}

SignalRecorder::SignalRecorder(QObject *sender) : m_sender(sender)
{
    const QMetaObject *meta = sender->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        if (meta->method(i).methodType() == QMetaMethod::Signal) {
            QMetaObject::connect(sender, i, this, firstSlot + i, Qt::DirectConnection);
        }
    }
}

QList<QByteArray> SignalRecorder::take()
{
    const QList<QByteArray> result = m_emissions;
    m_emissions.clear();
    return result;
}

int SignalRecorder::qt_metacall(QMetaObject::Call call, int id, void **arguments)
{
    id = QObject::qt_metacall(call, id, arguments);
    if (id < 0 || call != QMetaObject::InvokeMetaMethod) {
        return id;
    }
    if (QThread::currentThread() != thread()) {
        qFatal("signal on a foreign thread");
    }

    const QMetaMethod signal = m_sender->metaObject()->method(id);
    QVariantList values;
    const QList<QByteArray> types = signal.parameterTypes();
    for (int i = 0; i < types.size(); ++i) {
        values.append(variantOf(types.at(i), arguments[i + 1]));
    }
    m_emissions.append(emission(signatureOf(signal), values));
    return -1;
}
