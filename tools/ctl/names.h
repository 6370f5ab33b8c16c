// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_NAMES_H
#define HNIPC_TOOLS_CTL_NAMES_H

#include "contract.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// A pattern for names. One with *, ? or [ has to match the whole name; any other one, and an invalid
/// one, has to be contained in the name. Case is ignored.
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

/// "; did you mean A, B?", with the names that are similar to @p name; empty if none is.
QString didYouMean(const QString &name, const QStringList &names);

/// "no method NAME; did you mean A, B?". If NAME is a property or a signal, says so, with the command
/// for it.
QString noSuch(const char *kind, const QString &name, const QStringList &names,
               const Contract &contract);

/// "no method matches "PATTERN"; did you mean A, B?", or the option of "list" that finds it.
QString noMatch(const char *kind, const QString &pattern, const QStringList &names,
                const Contract &contract);

#endif
