// SPDX-License-Identifier: MIT
#include "names.h"

#include <QtCore/QMap>

#include <algorithm>
#include <vector>

namespace {

// How many letters have to be added, dropped or replaced to make one of the other.
int distance(const QString &from, const QString &to)
{
    std::vector<int> row(size_t(to.size()) + 1);
    for (size_t column = 0; column < row.size(); ++column) {
        row[column] = int(column);
    }
    for (const QChar letter : from) {
        int diagonal = row[0]++;
        for (size_t column = 1; column < row.size(); ++column) {
            const int replaced = diagonal + (letter == to.at(int(column) - 1) ? 0 : 1);
            diagonal = row[column];
            row[column] = std::min({ replaced, row[column] + 1, row[column - 1] + 1 });
        }
    }
    return row.back();
}

} // namespace

Pattern::Pattern(const QString &text)
    : m_text(text)
{
    static const QRegularExpression wildcard(QStringLiteral("[*?[]"));
    if (text.contains(wildcard)) {
        m_whole = QRegularExpression(QRegularExpression::wildcardToRegularExpression(text),
                                     QRegularExpression::CaseInsensitiveOption);
        m_isWhole = m_whole.isValid();
    }
}

bool Pattern::matches(const QString &name) const
{
    return m_isWhole ? m_whole.match(name).hasMatch()
                     : name.contains(m_text, Qt::CaseInsensitive);
}

QString didYouMean(const QString &name, const QStringList &names)
{
    QMap<int, QStringList> byDistance;
    for (const QString &candidate : names) {
        const int far = distance(name.toLower(), candidate.toLower());
        const bool isPart = name.size() > 2
            && candidate.contains(name, Qt::CaseInsensitive);
        if (isPart || far <= std::max(2, int(name.size()) / 3)) {
            byDistance[far] += candidate;
        }
    }
    QStringList nearest;
    for (const QStringList &candidates : qAsConst(byDistance)) {
        nearest += candidates;
    }
    return nearest.isEmpty()
        ? QString()
        : QStringLiteral("; did you mean %1?").arg(nearest.mid(0, 4).join(QLatin1String(", ")));
}

QString noSuch(const char *kind, const QString &name, const QStringList &names,
               const Contract &contract)
{
    const struct { QStringList names; const char *hint; } others[] = {
        { contract.methodNames(), "%1 is a method: hnipcctl call %1" },
        { contract.propertyNames(), "%1 is a property: hnipcctl get %1" },
        { contract.signalNames(), "%1 is a signal: hnipcctl monitor %1" },
    };
    for (const auto &other : others) {
        if (other.names.contains(name)) {
            return QString::fromLatin1(other.hint).arg(name);
        }
    }
    return QStringLiteral("no %1 %2%3")
        .arg(QLatin1String(kind), name, didYouMean(name, names));
}
