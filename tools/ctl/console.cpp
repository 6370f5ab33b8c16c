// SPDX-License-Identifier: MIT
#include "console.h"

#include "common/exitcodes.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

const char showCursor[] = "\033[?25h";

bool terminal = false;
bool colours = false;
bool manyColours = false;
bool failuresInJson = false;
volatile std::sig_atomic_t cursorHidden = 0;

// Only what a signal handler may do.
void onSignal(int number)
{
    if (cursorHidden) {
        const ssize_t written = ::write(STDOUT_FILENO, showCursor, sizeof showCursor - 1);
        static_cast<void>(written);
    }
    _exit(128 + number);
}

// What is opened later would get the number of a closed one, and what is printed would go there.
// What is printed on a closed standard output fails as before.
void occupyClosedStreams()
{
    for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        if (fcntl(stream, F_GETFD) < 0) {
            open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

QString styled(const char *style, const QString &text)
{
    return colours && !text.isEmpty()
        ? QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(style), text)
        : text;
}

} // namespace

void Console::start()
{
    occupyClosedStreams();
    // Of a closed pipe the writing itself tells; the bus library ignores the signal, too.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    terminal = isatty(STDOUT_FILENO);
    colours = terminal && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
    const QByteArray depth = qgetenv("COLORTERM");
    manyColours = colours && (depth == "truecolor" || depth == "24bit");
}

void Console::end(int exitCode)
{
    if (cursorHidden) {
        write(showCursor);
    }
    flush();
    // Not by way of exit(): the bus library's thread still turns, and would meet what the
    // destructors of static objects have left, and complain.
    _exit(exitCode);
}

bool Console::isTerminal()
{
    return terminal;
}

int Console::columns()
{
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void Console::write(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void Console::flush()
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) {
        return;
    }
    if (errno != EPIPE) {
        std::fprintf(stderr, "hnipcctl: cannot write: %s\n", std::strerror(errno));
    }
    _exit(errno == EPIPE ? Toolkit::Done : Toolkit::Failed);
}

void Console::print(const QString &line)
{
    write(line.toUtf8() + '\n');
}

void Console::print(const QJsonObject &object)
{
    write(QJsonDocument(object).toJson());
}

void Console::print(const QJsonArray &array)
{
    write(QJsonDocument(array).toJson());
}

void Console::printLine(const QJsonObject &object)
{
    write(QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n');
}

void Console::note(const QString &text)
{
    flush(); // what was printed before comes before
    std::fprintf(stderr, "hnipcctl: %s\n", printable(text).toUtf8().constData());
}

int Console::fail(int exitCode, const QString &text)
{
    note(text);
    write(failureLine(exitCode, text));
    return exitCode;
}

void Console::failInJson()
{
    failuresInJson = true;
}

QByteArray Console::failureLine(int exitCode, const QString &text)
{
    const QJsonObject failure { { QStringLiteral("error"), text },
                                { QStringLiteral("exit"), exitCode } };
    return failuresInJson ? QJsonDocument(failure).toJson(QJsonDocument::Compact) + '\n'
                          : QByteArray();
}

QString Console::signalCount(std::size_t count)
{
    return count == 1 ? QStringLiteral("1 signal") : QStringLiteral("%1 signals").arg(count);
}

QString Console::printable(const QString &text)
{
    QString result;
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control) {
            result += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            result += character;
        }
    }
    return result;
}

QString Console::bold(const QString &text)
{
    return styled("1", text);
}

QString Console::dim(const QString &text)
{
    return styled("2", text);
}

QString Console::warning(const QString &text)
{
    return styled("31", text);
}

QString Console::swatch(const QString &colour)
{
    static const QRegularExpression form(
        QStringLiteral("^#?([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})$"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form.match(colour);
    if (!manyColours || !match.hasMatch()) {
        return QString();
    }
    QStringList parts;
    for (int i = 1; i <= 3; ++i) {
        parts += QString::number(match.captured(i).toInt(nullptr, 16));
    }
    const QByteArray style = "48;2;" + parts.join(QLatin1Char(';')).toLatin1();
    return styled(style.constData(), QStringLiteral("  ")) + QLatin1Char(' ');
}

void Console::hideCursor()
{
    cursorHidden = 1;
    write("\033[?25l");
}
