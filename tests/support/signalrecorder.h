// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_SIGNALRECORDER_H
#define HNIPC_TESTS_SIGNALRECORDER_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVariant>

typedef QList<QByteArray> Lines;

// An emission as one line of text with the type and the value of each argument.
QByteArray emission(const QByteArray &signature, const QVariantList &arguments = QVariantList());

// Records all signals that the class of an object declares, in the order of their emission.
class SignalRecorder : public QObject
{
public:
    explicit SignalRecorder(QObject *sender);

    Lines emissions() const { return m_emissions; }
    Lines take();

    virtual int qt_metacall(QMetaObject::Call call, int id, void **arguments);

private:
    QObject *m_sender;
    Lines m_emissions;
};

#endif
