// SPDX-License-Identifier: MIT
#include "words.h"

#include <QtCore/QHash>
#include <QtCore/QStringList>

namespace {

QString wordOf(const QHash<int, QString> &words, const char *kind, int code)
{
    if (code == 0) {
        return QString();
    }
    return words.value(code, QStringLiteral("%1 %2").arg(QLatin1String(kind)).arg(code));
}

QString list(const QVariant &texts)
{
    return texts.toStringList().mid(0, 8).join(QLatin1String(", "));
}

} // namespace

QString Words::error(int code)
{
    static const QHash<int, QString> words = {
        { 10, QStringLiteral("lid open") },
        { 11, QStringLiteral("cutter cover open") },
        { 12, QStringLiteral("supply latch open") },
        { 20, QStringLiteral("supply is out") },
        { 21, QStringLiteral("ribbon 1 is out") },
        { 22, QStringLiteral("ribbon 2 is out") },
        { 31, QStringLiteral("print head 1 is hot") },
        { 32, QStringLiteral("print head 2 is hot") },
    };
    return wordOf(words, "error", code);
}

QString Words::alert(int code)
{
    static const QHash<int, QString> words = {
        { 1, QStringLiteral("battery is low") },
        { 20, QStringLiteral("supply is low") },
        { 21, QStringLiteral("ribbon 1 is low") },
        { 22, QStringLiteral("ribbon 2 is low") },
    };
    return wordOf(words, "alert", code);
}

QString Words::brief(const QString &text)
{
    const int most = 200;
    return text.size() <= most ? text.simplified()
                               : text.left(most - 1).simplified() + QChar(0x2026);
}

QString Words::event(const QString &signal, const QVariantList &arguments)
{
    // For a switch, the words for false and true; %1 is what the signal carries.
    static const QHash<QString, QStringList> words = {
        { QStringLiteral("PrintButton"), { QStringLiteral("Print button") } },
        { QStringLiteral("HelpButton"), { QStringLiteral("Help button") } },
        { QStringLiteral("CancelButton"), { QStringLiteral("Cancel button") } },
        { QStringLiteral("M4PrinterLid"),
          { QStringLiteral("Lid closed"), QStringLiteral("Lid opened") } },
        { QStringLiteral("M4CutterCover"),
          { QStringLiteral("Cutter cover closed"), QStringLiteral("Cutter cover opened") } },
        { QStringLiteral("M4SupplyLatch"),
          { QStringLiteral("Supply latch closed"), QStringLiteral("Supply latch opened") } },
        { QStringLiteral("M4CutterHome"),
          { QStringLiteral("Cutter moves"), QStringLiteral("Cutter is home") } },
        { QStringLiteral("M4Tph1Fault"), { QStringLiteral("Print head 1 has a fault") } },
        { QStringLiteral("M4Tph2Fault"), { QStringLiteral("Print head 2 has a fault") } },
        { QStringLiteral("PrintQueueFull"), { QStringLiteral("Print queue is full") } },
        { QStringLiteral("PrintQueueClear"), { QStringLiteral("Print queue is cleared") } },
        { QStringLiteral("PrintQueueComplete"), { QStringLiteral("All jobs are printed") } },
        { QStringLiteral("SupplyChanged"), { QStringLiteral("Supply is now %1") } },
        { QStringLiteral("RibbonChanged"), { QStringLiteral("Ribbons are now %1") } },
    };
    const QVariant first = arguments.value(0);
    if (signal == QLatin1String("Error")) {
        const QString word = error(first.toInt());
        return word.isEmpty() ? QStringLiteral("Error is over") : QStringLiteral("Error: ") + word;
    }
    if (signal == QLatin1String("Alert")) {
        const QString word = alert(first.toInt());
        return word.isEmpty() ? QStringLiteral("Alert is over") : QStringLiteral("Alert: ") + word;
    }
    const QStringList choice = words.value(signal);
    if (choice.size() == 2) {
        return choice.at(first.toBool());
    }
    const QString text = choice.value(0);
    return text.contains(QLatin1String("%1")) ? text.arg(brief(list(first))) : text;
}
