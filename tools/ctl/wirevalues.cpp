// SPDX-License-Identifier: MIT
#include "wirevalues.h"

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

#include <dbus/dbus.h>

namespace {

QVariant valueOf(DBusMessageIter *iterator);

template <typename Wire>
Wire basic(DBusMessageIter *iterator)
{
    Wire result {};
    dbus_message_iter_get_basic(iterator, &result);
    return result;
}

QVariantList elementsOf(DBusMessageIter *container)
{
    DBusMessageIter element;
    dbus_message_iter_recurse(container, &element);
    QVariantList result;
    for (; dbus_message_iter_get_arg_type(&element) != DBUS_TYPE_INVALID;
         dbus_message_iter_next(&element)) {
        result += QVariant(valueOf(&element));
    }
    return result;
}

QVariantMap entriesOf(DBusMessageIter *array)
{
    DBusMessageIter entry;
    dbus_message_iter_recurse(array, &entry);
    QVariantMap result;
    for (; dbus_message_iter_get_arg_type(&entry) != DBUS_TYPE_INVALID;
         dbus_message_iter_next(&entry)) {
        const QVariantList pair = elementsOf(&entry);
        result.insert(pair.at(0).toString(), pair.at(1));
    }
    return result;
}

QByteArray bytesOf(DBusMessageIter *array)
{
    DBusMessageIter content;
    dbus_message_iter_recurse(array, &content);
    const char *bytes = nullptr;
    int size = 0;
    dbus_message_iter_get_fixed_array(&content, &bytes, &size);
    return QByteArray(bytes, size);
}

QVariant arrayOf(DBusMessageIter *array)
{
    switch (dbus_message_iter_get_element_type(array)) {
    case DBUS_TYPE_BYTE:
        return bytesOf(array);
    case DBUS_TYPE_DICT_ENTRY:
        return entriesOf(array);
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE: {
        QStringList result;
        const QVariantList elements = elementsOf(array);
        for (const QVariant &element : elements) {
            result += element.toString();
        }
        return result;
    }
    default:
        return elementsOf(array);
    }
}

QVariant valueOf(DBusMessageIter *iterator)
{
    switch (dbus_message_iter_get_arg_type(iterator)) {
    case DBUS_TYPE_BOOLEAN:
        return basic<dbus_bool_t>(iterator) != 0;
    case DBUS_TYPE_BYTE:
        return int(basic<unsigned char>(iterator));
    case DBUS_TYPE_INT16:
        return int(basic<dbus_int16_t>(iterator));
    case DBUS_TYPE_UINT16:
        return int(basic<dbus_uint16_t>(iterator));
    case DBUS_TYPE_INT32:
        return int(basic<dbus_int32_t>(iterator));
    case DBUS_TYPE_UINT32:
        return uint(basic<dbus_uint32_t>(iterator));
    case DBUS_TYPE_INT64:
        return qint64(basic<dbus_int64_t>(iterator));
    case DBUS_TYPE_UINT64:
        return quint64(basic<dbus_uint64_t>(iterator));
    case DBUS_TYPE_DOUBLE:
        return basic<double>(iterator);
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
        return QString::fromUtf8(basic<const char *>(iterator));
    case DBUS_TYPE_UNIX_FD: // libdbus would duplicate the descriptor
        return QStringLiteral("file descriptor");
    case DBUS_TYPE_ARRAY:
        return arrayOf(iterator);
    case DBUS_TYPE_VARIANT:
        return elementsOf(iterator).value(0);
    default: // a structure
        return elementsOf(iterator);
    }
}

} // namespace

QVariantList wireValues(DBusMessage *message)
{
    QVariantList result;
    DBusMessageIter iterator;
    if (!dbus_message_iter_init(message, &iterator)) {
        return result;
    }
    for (; dbus_message_iter_get_arg_type(&iterator) != DBUS_TYPE_INVALID;
         dbus_message_iter_next(&iterator)) {
        result += QVariant(valueOf(&iterator));
    }
    return result;
}
