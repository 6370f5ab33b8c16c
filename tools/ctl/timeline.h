// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_TIMELINE_H
#define HNIPC_TOOLS_CTL_TIMELINE_H

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QStringList>

#include <vector>

/// A picture of calls. Time runs from left to right, each caller has a lane, and each call is a bar.
/// Times are nanoseconds since the start.
struct Timeline
{
    enum Look { Plain, Failed, Open };

    struct Bar
    {
        qint64 begin;
        qint64 end;
        int lane;
        int daemon;
        QString name;
        Look look;
        QString note; ///< about how it ended; may be empty
    };

    struct Tick
    {
        qint64 at;
        int daemon;
        QString name;
    };

    /// As an SVG file.
    QByteArray svg() const;

    QDateTime start;
    QStringList daemons;
    QStringList lanes;
    std::vector<Bar> bars;
    std::vector<Tick> ticks;
    QStringList notes; ///< lines under the title
};

#endif
