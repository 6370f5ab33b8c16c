// SPDX-License-Identifier: MIT
#include "console.h"
#include "names.h"
#include "request.h"
#include "values.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

using namespace Toolkit;

namespace {

// Splits a line into words as a shell does: '...' unchanged, "..." and \ before a character. Returns
// false and sets @p error if the line is invalid.
bool split(const QString &line, QStringList *words, QString *error)
{
    QChar quote;
    QString word;
    bool isWord = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar letter = line.at(i);
        const bool isBackslash = letter == QLatin1Char('\\') && quote != QLatin1Char('\'');
        if (isBackslash && i + 1 == line.size()) {
            *error = QStringLiteral("expected a character after the last \\");
            return false;
        }
        if (isBackslash) {
            const QChar next = line.at(++i);
            const bool isPlain = !quote.isNull() && next != QLatin1Char('"')
                && next != QLatin1Char('\\');
            word += isPlain ? QString(letter) + next : QString(next);
            isWord = true;
        } else if (letter == quote) {
            quote = QChar();
        } else if (quote.isNull() && (letter == QLatin1Char('"') || letter == QLatin1Char('\''))) {
            quote = letter;
            isWord = true;
        } else if (quote.isNull() && letter.isSpace()) {
            if (isWord) {
                *words += word;
            }
            word.clear();
            isWord = false;
        } else if (quote.isNull() && !isWord && letter == QLatin1Char('#')) {
            return true;
        } else {
            word += letter;
            isWord = true;
        }
    }
    if (!quote.isNull()) {
        *error = QStringLiteral("expected a closing %1").arg(quote);
        return false;
    }
    if (isWord) {
        *words += word;
    }
    return true;
}

// The result of a line.
struct Answer
{
    int exitCode = Done;
    QString text;
    QJsonObject json;
};

Answer failed(int exitCode, const QString &error)
{
    return { exitCode,
             error,
             { { QStringLiteral("error"), error }, { QStringLiteral("exit"), exitCode } } };
}

Answer call(const Context &context, const QStringList &words)
{
    const Method *method = nullptr;
    QVariantList values;
    QString wrong;
    const int chosen = chooseMethod(context.contract, words.first(), words.mid(1), &method, &values,
                                    &wrong);
    if (chosen != Done) {
        return failed(chosen, wrong);
    }
    HNIPCRequest request;
    request.setMethod(method->name);
    request.setArguments(values);
    request.setDeadline(context.timeout);
    finish({ &request });
    const Outcome outcome = outcomeOf(*method->daemon, request);
    const QString text = !outcome.ok() ? outcome.error
        : method->resultType.isEmpty() ? QStringLiteral("done")
                                       : textOf(outcome.value);
    QJsonObject json = outcome.json();
    json.insert(QStringLiteral("method"), method->signature());
    json.insert(QStringLiteral("daemon"), method->daemon->name);
    return { outcome.exitCode(), text, json };
}

Answer get(const Context &context, const QStringList &names)
{
    std::vector<const Property *> properties;
    for (const QString &name : names) {
        const Property *property = context.contract.property(name);
        if (!property) {
            return failed(
                NoSuchName,
                noSuch("property", name, context.contract.propertyNames(), context.contract));
        }
        properties.push_back(property);
    }
    Answer answer;
    QJsonObject values;
    QStringList texts;
    for (const auto &[property, outcome] : readProperties(context, properties)) {
        const QString text = outcome.ok() ? textOf(outcome.value)
                                          : QLatin1Char('(') + outcome.error + QLatin1Char(')');
        texts += properties.size() == 1 ? outcome.ok() ? text : outcome.error
                                        : property->name + QLatin1Char('=') + text;
        values.insert(property->name, outcome.json());
        answer.exitCode = std::max(answer.exitCode, outcome.exitCode());
    }
    answer.text = texts.join(QLatin1Char(' '));
    answer.json.insert(QStringLiteral("properties"), values);
    answer.json.insert(QStringLiteral("exit"), answer.exitCode);
    return answer;
}

Answer answerTo(const Context &context, QStringList words)
{
    const QString first = words.first();
    const bool isGet = first == QLatin1String("get");
    if (isGet || first == QLatin1String("call")) {
        words.removeFirst();
    }
    if (words.isEmpty()) {
        return failed(WrongUsage, QStringLiteral("%1 needs a name").arg(first));
    }
    return isGet ? get(context, words) : call(context, words);
}

class Batch
{
public:
    explicit Batch(const Context &context)
        : m_context(context), m_stopsAtOnce(context.options.contains(QStringLiteral("stop")))
    {
    }

    // Each line waits for the result of the line before it. The event loop runs meanwhile.
    int run()
    {
        QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
        QObject::connect(&input, &QSocketNotifier::activated, [&]() {
            input.setEnabled(false);
            read();
            input.setEnabled(true);
        });
        return QCoreApplication::exec();
    }

private:
    void read()
    {
        char bytes[65536];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
            return;
        }
        if (count < 0) {
            end(Console::fail(Failed,
                              QStringLiteral("standard input: %1")
                                  .arg(QString::fromLocal8Bit(std::strerror(errno)))));
            return;
        }
        m_read += QByteArray(bytes, int(count));
        if (count == 0 && !m_read.isEmpty()) {
            m_read += '\n';
        }
        int begin = 0;
        for (int at = 0; !m_ended && (at = int(m_read.indexOf('\n', begin))) >= 0; begin = at + 1) {
            answer(m_read.mid(begin, at - begin));
        }
        m_read.remove(0, begin);
        if (count == 0 && !m_ended) {
            end(m_worst);
        }
    }

    void answer(const QByteArray &line)
    {
        ++m_line;
        const std::optional<QString> text = exactText(line);
        QStringList words;
        QString error;
        if (!text) {
            print(failed(BadValue, QStringLiteral("expected UTF-8")));
        } else if (!split(*text, &words, &error)) {
            print(failed(BadValue, error));
        } else if (!words.isEmpty()) {
            print(answerTo(m_context, words));
            if (!m_context.bus.isConnected()) {
                end(busLost());
            }
        }
    }

    void print(Answer answer)
    {
        m_worst = std::max(m_worst, answer.exitCode);
        if (m_context.json) {
            answer.json.insert(QStringLiteral("line"), m_line);
            Console::printLine(answer.json);
        } else {
            const QString row = Console::printable(answer.text);
            Console::print(
                answer.exitCode == Done ? row : Console::warning(QLatin1String("error: ") + row));
        }
        Console::flush();
        if (m_stopsAtOnce && answer.exitCode != Done) {
            end(answer.exitCode);
        }
    }

    void end(int exitCode)
    {
        m_ended = true;
        QCoreApplication::exit(exitCode);
    }

    const Context &m_context;
    const bool m_stopsAtOnce;
    QByteArray m_read;
    int m_line = 0;
    int m_worst = Done;
    bool m_ended = false;
};

int run(const Context &context, const QStringList &) { return Batch(context).run(); }

} // namespace

// clang-format off
const Command batchCommand = {
    "batch", "", "Makes many calls over one connection, from lines of standard input",
    "Each line is METHOD [ARGUMENT...], as for \"call\", or get PROPERTY... Quotes and\n"
    "backslashes are as in a shell, and # begins a comment. Prints one line for each, in\n"
    "the same order, as soon as the result is known: the value, \"done\" if the method\n"
    "returns nothing, or \"error: \" and the reason. A line is sent when the line before\n"
    "it has its result. The exit code is the highest of all lines. With several\n"
    "printers, standard input is read to its end first; each printer then gets all\n"
    "lines, over one ssh login.",
    { { "stop", nullptr, "end at the first line that fails, with its exit code" } },
    0, 0, true, nullptr, run, nullptr, false, true, false
};
// clang-format on
