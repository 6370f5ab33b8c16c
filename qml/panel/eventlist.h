// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_EVENTLIST_H
#define HNIPC_PANEL_EVENTLIST_H

#include <QtCore/QAbstractListModel>
#include <QtCore/QList>
#include <QtCore/QString>

/// What has happened, the latest first, with its time.
class EventList : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role { TimeRole = Qt::UserRole, TextRole };

    using QAbstractListModel::QAbstractListModel;

    void add(const QString &text);
    int count() const { return int(m_events.size()); }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();

private:
    struct Event
    {
        QString time;
        QString text;
    };
    QList<Event> m_events;
};

#endif
