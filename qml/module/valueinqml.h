// SPDX-License-Identifier: MIT
#ifndef VALUEINQML_H
#define VALUEINQML_H

#include <QtCore/QObject>
#include <QtCore/QVariant>

class HNIPCReading;
class HNIPCRequest;

/// A value in types that JavaScript has without loss. A supply record or a table is an object,
/// whose properties are the fields or keys; a number of 64 bits is decimal text; bytes are base64
/// text; a list of strings is an Array. The same applies within objects and lists. All else is as
/// in C++.
QVariant readableInQml(const QVariant &value);

/// The value of a request or reading in QML, in place of the one of its class: see readableInQml().
class ValueInQml : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariant value READ value NOTIFY valueChanged)

public:
    /// @p object is an HNIPCRequest or an HNIPCReading.
    explicit ValueInQml(QObject *object);

    QVariant value() const;

Q_SIGNALS:
    void valueChanged();

private:
    HNIPCRequest *m_request; // one of these is null
    HNIPCReading *m_reading;
};

#endif
