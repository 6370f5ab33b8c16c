// SPDX-License-Identifier: MIT
#include "eventlist.h"

#include <QtCore/QTime>

static const int most = 100;

void EventList::add(const QString &text)
{
    if (m_events.size() == most) {
        beginRemoveRows(QModelIndex(), most - 1, most - 1);
        m_events.removeLast();
        endRemoveRows();
    }
    beginInsertRows(QModelIndex(), 0, 0);
    m_events.prepend({ QTime::currentTime().toString(QStringLiteral("HH:mm:ss")), text });
    endInsertRows();
    emit countChanged();
}

int EventList::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant EventList::data(const QModelIndex &index, int role) const
{
    const Event event = m_events.value(index.row());
    return role == TimeRole ? event.time : role == TextRole ? event.text : QVariant();
}

QHash<int, QByteArray> EventList::roleNames() const
{
    return { { TimeRole, "time" }, { TextRole, "text" } };
}
