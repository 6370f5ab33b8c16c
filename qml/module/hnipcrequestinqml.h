// SPDX-License-Identifier: MIT
#ifndef HNIPCREQUESTINQML_H
#define HNIPCREQUESTINQML_H

#include <QtCore/QObject>
#include <QtCore/QVariant>

class HNIPCRequest;

/**
 * What a request has in QML beyond its class: its answer in types that JavaScript has without loss.
 * An object for a supply record or a table, whose properties are the fields or keys; decimal text
 * for a number of 64 bits; base64 text for bytes. Within objects and lists, too. All else is as in
 * HNIPCRequest::value().
 */
class HNIPCRequestInQml : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariant qmlValue READ qmlValue NOTIFY qmlValueChanged)

public:
    explicit HNIPCRequestInQml(QObject *request);

    QVariant qmlValue() const;

Q_SIGNALS:
    void qmlValueChanged();

private:
    HNIPCRequest *m_request;
};

#endif
