// SPDX-License-Identifier: MIT
#include "entry.h"

#include <QtCore/QRegularExpression>

QByteArray textOf(const Entries &entries)
{
    QByteArray text;
    QByteArray section;
    for (const Entry &entry : entries) {
        if (entry.section != section) {
            section = entry.section;
            text += (text.isEmpty() ? "[" : "\n[") + section + "]\n";
        }
        text += entry.kind;
        if (entry.place >= 0) {
            text += ' ' + QByteArray::number(entry.place);
        }
        text += ": " + entry.name;
        if (!entry.result.isEmpty()) {
            text += " = " + entry.result;
        }
        if (!entry.names.isEmpty()) {
            text += " [" + entry.names + ']';
        }
        text += '\n';
    }
    return text;
}

Entries entriesIn(const QByteArray &text)
{
    static const QRegularExpression form(
        QStringLiteral("^(\\S+)(?: (\\d+))?: (.*?)(?: = (.*?))?(?: \\[(.*)\\])?$"));
    Entries entries;
    QByteArray section;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith('[') && line.endsWith(']')) {
            section = line.mid(1, line.size() - 2);
        } else if (!line.isEmpty()) {
            const QRegularExpressionMatch match = form.match(QString::fromUtf8(line));
            const auto part = [&match](int number) { return match.captured(number).toUtf8(); };
            Entry entry = { section, "?", -1, line, QByteArray(), QByteArray() };
            if (match.hasMatch()) {
                const int place = part(2).isEmpty() ? -1 : part(2).toInt();
                entry = Entry { section, part(1), place, part(3), part(4), part(5) };
            }
            entries.append(entry);
        }
    }
    return entries;
}
