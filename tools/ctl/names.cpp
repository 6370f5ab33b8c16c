// SPDX-License-Identifier: MIT
#include "names.h"

#include <QtCore/QMap>

#include <algorithm>
#include <vector>

namespace {

// The number of letters that have to be added, removed or replaced to make one word the other.
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

Pattern::Pattern(const QString &text) : m_text(text)
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
    return m_isWhole ? m_whole.match(name).hasMatch() : name.contains(m_text, Qt::CaseInsensitive);
}

QString didYouMean(const QString &name, const QStringList &names)
{
    QMap<int, QStringList> byDistance;
    for (const QString &candidate : names) {
        const int far = distance(name.toLower(), candidate.toLower());
        const bool isPart = name.size() > 2 && candidate.contains(name, Qt::CaseInsensitive);
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
    // Reading the descriptions for the signals takes time, which is acceptable for an error message.
    QString error;
    const std::unique_ptr<Contract> described = Contract::load(&error);
    // clang-format off
    const struct { QStringList names; const char *hint; } others[] = {
        { contract.methodNames(), "%1 is a method: hnipcctl call %1" },
        { contract.propertyNames(), "%1 is a property: hnipcctl get %1" },
        { described ? described->signalNames() : QStringList(),
          "%1 is a signal: hnipcctl monitor %1" },
    };
    // clang-format on
    for (const auto &other : others) {
        if (other.names.contains(name)) {
            return QString::fromLatin1(other.hint).arg(name);
        }
    }
    return QStringLiteral("no %1 %2%3").arg(QLatin1String(kind), name, didYouMean(name, names));
}

QString noMatch(const char *kind, const QString &pattern, const QStringList &names,
                const Contract &contract)
{
    const QString start = QStringLiteral("no %1 matches \"%2\"").arg(QLatin1String(kind), pattern);
    const Pattern wanted(pattern);
    const struct
    {
        const char *kind;
        const char *one;
        const char *many;
        QStringList names;
        const char *command;
    } others[] = {
        { "method", "a method does", "methods do", contract.methodNames(), "hnipcctl list" },
        { "property", "a property does", "properties do", contract.propertyNames(),
          "hnipcctl list --properties" },
        { "signal", "a signal does", "signals do", contract.signalNames(),
          "hnipcctl list --signals" },
    };
    for (const auto &other : others) {
        const auto matches = [&](const QString &name) { return wanted.matches(name); };
        const int count = int(std::count_if(other.names.begin(), other.names.end(), matches));
        if (qstrcmp(other.kind, kind) != 0 && count > 0) {
            return QStringLiteral("%1, but %2: %3 '%4'")
                .arg(start, QLatin1String(count == 1 ? other.one : other.many),
                     QLatin1String(other.command), pattern);
        }
    }
    QString letters = pattern;
    letters.remove(QLatin1Char('*')).remove(QLatin1Char('?'));
    const QString hint = didYouMean(letters, names);
    if (!hint.isEmpty() || letters.size() < 4) {
        return start + hint;
    }
    // The pattern may be a misspelt beginning of a name.
    QStringList near;
    for (const QString &name : names) {
        if (distance(letters.toLower(), name.left(letters.size()).toLower()) <= letters.size() / 4
            || distance(letters.toLower(), name.left(letters.size() + 1).toLower()) <= 1) {
            near += name;
        }
    }
    return near.isEmpty() ? start
                          : start
            + QStringLiteral("; did you mean %1?").arg(near.mid(0, 4).join(QLatin1String(", ")));
}
