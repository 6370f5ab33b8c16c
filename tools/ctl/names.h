// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_NAMES_H
#define HNIPC_TOOLS_CTL_NAMES_H

#include "contract.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// What stands for several names: one with *, ? or [ has to match the whole name; any other, and one
/// that makes no sense, has to be contained in it. Upper and lower case are the same.
class Pattern
{
public:
    explicit Pattern(const QString &text);

    bool matches(const QString &name) const;

private:
    QString m_text;
    QRegularExpression m_whole;
    bool m_isWhole = false;
};

/// "; did you mean A, B?", with those of @p names that are close to @p name; empty if none is.
QString didYouMean(const QString &name, const QStringList &names);

/// "no method NAME; did you mean A, B?", or what it is instead, and the command for that.
QString noSuch(const char *kind, const QString &name, const QStringList &names,
               const Contract &contract);

/// "no method matches "PATTERN"; did you mean A, B?", or the option of "list" that finds it.
QString noMatch(const char *kind, const QString &pattern, const QStringList &names,
                const Contract &contract);

#endif
