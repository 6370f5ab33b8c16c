// SPDX-License-Identifier: MIT
#include "valueinqml.h"

#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

static QVariantList readable(const QVariantList &values)
{
    QVariantList result;
    for (const QVariant &value : values) {
        result.append(readableInQml(value));
    }
    return result;
}

template <typename Table>
static QVariantMap readableTable(const Table &table)
{
    QVariantMap result;
    for (auto i = table.constBegin(); i != table.constEnd(); ++i) {
        result.insert(i.key(), readableInQml(i.value()));
    }
    return result;
}

static QVariantMap readable(const SupplyInformation &record)
{
    return {
        { "text1", record.text1 },
        { "textList1", readableInQml(record.textList1) },
        { "real1", record.real1 },
        { "integer1", record.integer1 },
        { "text2", record.text2 },
        { "real2", record.real2 },
        { "integer2", record.integer2 },
        { "text3", record.text3 },
        { "integer3", record.integer3 },
        { "text4", record.text4 },
        { "integer4", record.integer4 },
        { "text5", record.text5 },
        { "real3", record.real3 },
        { "integer5", record.integer5 },
        { "bytes1", readableInQml(record.bytes1) },
        { "real4", record.real4 },
        { "real5", record.real5 },
        { "integer6", record.integer6 },
        { "integer7", record.integer7 },
        { "integer8", record.integer8 },
        { "real6", record.real6 },
        { "real7", record.real7 },
        { "real8", record.real8 },
        { "real9", record.real9 },
        { "textList2", readableInQml(record.textList2) },
        { "variantList1", readableInQml(record.variantList1) },
        { "variantList2", readableInQml(record.variantList2) },
        { "variantList3", readableInQml(record.variantList3) },
        { "variantList4", readableInQml(record.variantList4) },
        { "variantList5", readableInQml(record.variantList5) },
    };
}

QVariant readableInQml(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<SupplyInformation>()) {
        return readable(value.value<SupplyInformation>());
    }
    switch (value.userType()) {
    case QMetaType::ULongLong:
    case QMetaType::LongLong:
        return value.toString();
    case QMetaType::QByteArray:
        return QString::fromLatin1(value.toByteArray().toBase64());
    case QMetaType::QVariantHash:
        return readableTable(value.toHash());
    case QMetaType::QVariantMap:
        return readableTable(value.toMap());
    case QMetaType::QStringList: // otherwise it would not be an Array in JavaScript
    case QMetaType::QVariantList:
        return readable(value.toList());
    default:
        return value;
    }
}

ValueInQml::ValueInQml(QObject *object)
    : QObject(object), m_request(qobject_cast<HNIPCRequest *>(object)),
      m_reading(qobject_cast<HNIPCReading *>(object))
{
    if (m_request) {
        connect(m_request, &HNIPCRequest::stateChanged, this, &ValueInQml::valueChanged);
    } else {
        connect(m_reading, &HNIPCReading::changed, this, &ValueInQml::valueChanged);
    }
}

QVariant ValueInQml::value() const
{
    return readableInQml(m_request ? m_request->value() : m_reading->value());
}
