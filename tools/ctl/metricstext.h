// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_METRICSTEXT_H
#define HNIPC_TOOLS_CTL_METRICSTEXT_H

#include "fleet.h"

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QString>

#include <optional>
#include <vector>

/// The restarts that earlier runs have counted, read from the metrics of the last run.
class EarlierMetrics
{
public:
    /// The connection with which a daemon was seen last, and how many other ones were seen before.
    struct Daemon
    {
        QString bus;   ///< the id of the bus
        QString owner; ///< the unique name; empty if the daemon was never seen
        quint64 restarts = 0;
    };

    /// Returns true for text that this program has written, and for empty text.
    static bool isMetrics(const QByteArray &text);
    explicit EarlierMetrics(const QByteArray &text);

    Daemon daemon(const QString &printer, const QString &name) const;

private:
    QMap<QPair<QString, QString>, Daemon> m_daemons; ///< by the printer and the daemon
};

/// The metrics of all printers, as text in the intersection of OpenMetrics and the text format of
/// Prometheus. Restarts are included only with @p earlier.
QByteArray metricsText(const std::vector<FleetAnswer> &answers,
                       const std::optional<EarlierMetrics> &earlier);

#endif
