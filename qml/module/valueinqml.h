// SPDX-License-Identifier: MIT
#ifndef VALUEINQML_H
#define VALUEINQML_H

#include <QtCore/QObject>
#include <QtCore/QVariant>

class HNIPCReading;
class HNIPCRequest;

/// Converts a value to JavaScript without loss. A supply record or a table becomes an object, whose
/// properties are the fields or keys. A 64-bit number becomes a decimal string, a byte array a base64
/// string, and a list of strings an Array. The same applies within objects and lists. All other
/// values stay as in C++.
QVariant readableInQml(const QVariant &value);

/// The value of a request or reading in QML, in place of the class's own `value`: see readableInQml().
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
