// SPDX-License-Identifier: MIT
#ifndef HNIPC_PANEL_READING_H
#define HNIPC_PANEL_READING_H

#include <hnipc/hnipcrequest.h>

#include <QtCore/QObject>
#include <QtCore/QVariant>

/// A value that a daemon has, as it was answered last, and of texts as much as a screen can take:
/// read once for each change, and never waited for.
class Reading : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariant value READ value NOTIFY changed)
    Q_PROPERTY(bool known READ isKnown NOTIFY changed)

public:
    explicit Reading(const QString &method, QObject *parent = nullptr);

    bool isKnown() const { return m_value.isValid(); }
    QVariant value() const { return m_value; } ///< invalid while it is not known

    /// It has changed.
    void read();
    /// What it is read with, if that has changed.
    void readWith(const QVariantList &arguments);
    /// Nobody is there who knows it.
    void forget();

signals:
    void changed();

private:
    void onFinished();
    void setValue(const QVariant &value);

    HNIPCRequest m_request;
    bool m_changedMeanwhile = false;
    bool m_otherMeanwhile = false; ///< what is under way is read with former arguments
    QVariant m_value;
};

#endif
