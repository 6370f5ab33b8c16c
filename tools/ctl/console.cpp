// SPDX-License-Identifier: MIT
#include "console.h"

#include "common/exitcodes.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>
#include <QtCore/QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace {

const char showCursor[] = "\033[?25h";
const char hiddenCursor[] = "\033[?25l";

bool terminal = false;
bool colours = false;
bool manyColours = false;
bool failuresInJson = false;
volatile std::sig_atomic_t cursorHidden = 0;
volatile std::sig_atomic_t isInterruptHandled = 0;
int wakeUp[2] = { -1, -1 }; // pipe from signal handlers to the event loop: one byte for each signal
std::map<int, std::function<void()>> wakeUpHandlers; // by the signal's number

void writeFromHandler(int stream, const char *bytes, size_t size)
{
    const ssize_t written = ::write(stream, bytes, size);
    static_cast<void>(written);
}

void wakeEventLoop(int number)
{
    const char byte = char(number);
    writeFromHandler(wakeUp[1], &byte, 1);
}

// Uses only functions that a signal handler may call.
void onSignal(int number)
{
    if (isInterruptHandled && number != SIGQUIT) {
        isInterruptHandled = 0;
        wakeEventLoop(number);
        return;
    }
    if (cursorHidden) {
        writeFromHandler(STDOUT_FILENO, showCursor, sizeof showCursor - 1);
    }
    _exit(128 + number);
}

// A signal that the parent process has set to be ignored, as nohup does, stays ignored.
void handleUnlessIgnored(int number, void (*handler)(int))
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler != SIG_IGN) {
        action = {};
        action.sa_handler = handler;
        action.sa_flags = SA_NODEFER | SA_RESTART;
        sigaction(number, &action, nullptr);
    }
}

// Ctrl-Z: shows the cursor and suspends the program; hides the cursor when the program continues.
void onStop(int number)
{
    const int error = errno;
    writeFromHandler(STDOUT_FILENO, showCursor, sizeof showCursor - 1);
    std::signal(number, SIG_DFL);
    raise(number);
    handleUnlessIgnored(number, onStop);
    writeFromHandler(STDOUT_FILENO, hiddenCursor, sizeof hiddenCursor - 1);
    wakeEventLoop(number);
    errno = error;
}

void onWokenUp(int number, std::function<void()> handler)
{
    if (wakeUp[0] < 0) {
        if (pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0) {
            return;
        }
        auto *notifier = new QSocketNotifier(wakeUp[0], QSocketNotifier::Read,
                                             QCoreApplication::instance());
        QObject::connect(notifier, &QSocketNotifier::activated, []() {
            char woken = 0;
            while (read(wakeUp[0], &woken, 1) == 1) {
                const auto found = wakeUpHandlers.find(woken);
                if (found != wakeUpHandlers.end()) {
                    found->second();
                }
            }
        });
    }
    wakeUpHandlers[number] = std::move(handler);
}

// printable()'s escapes are valid in JSON strings. Outside of strings, only the line ends need none.
QByteArray printableJson(const QByteArray &json)
{
    return Toolkit::printable(QString::fromUtf8(json), U'\n').toUtf8();
}

// Otherwise a file that is opened later would get the number of a closed stream, and output would be
// written to it. Printing to a closed standard output still fails.
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
    // A write to a closed pipe reports the error itself. The bus library ignores the signal, too.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    handleUnlessIgnored(SIGHUP, onSignal);
    handleUnlessIgnored(SIGQUIT, onSignal);
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
    // Not by exit(): the bus library's thread still runs, and would print warnings when the
    // destructors of static objects have run.
    _exit(exitCode);
}

bool Console::isTerminal() { return terminal; }

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

void Console::print(const QString &line) { write(line.toUtf8() + '\n'); }

void Console::print(const QJsonObject &object)
{
    write(printableJson(QJsonDocument(object).toJson()));
}

void Console::print(const QJsonArray &array)
{
    write(printableJson(QJsonDocument(array).toJson()));
}

void Console::printLine(const QJsonObject &object)
{
    write(printableJson(QJsonDocument(object).toJson(QJsonDocument::Compact)) + '\n');
}

void Console::note(const QString &text)
{
    flush(); // earlier output has to appear first
    std::fprintf(stderr, "hnipcctl: %s\n", printable(text).toUtf8().constData());
}

int Console::fail(int exitCode, const QString &text)
{
    note(text);
    write(failureLine(exitCode, text));
    return exitCode;
}

void Console::failInJson(bool json) { failuresInJson = json; }

QByteArray Console::failureLine(int exitCode, const QString &text)
{
    const QJsonObject failure { { QStringLiteral("error"), text },
                                { QStringLiteral("exit"), exitCode } };
    return failuresInJson
        ? printableJson(QJsonDocument(failure).toJson(QJsonDocument::Compact)) + '\n'
        : QByteArray();
}

QString Console::signalCount(std::size_t count)
{
    return count == 1 ? QStringLiteral("1 signal") : QStringLiteral("%1 signals").arg(count);
}

QString Console::bold(const QString &text) { return styled("1", text); }

QString Console::dim(const QString &text) { return styled("2", text); }

QString Console::warning(const QString &text) { return styled("31", text); }

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

void Console::hideCursor(std::function<void()> onContinued)
{
    onWokenUp(SIGTSTP, std::move(onContinued));
    cursorHidden = 1;
    handleUnlessIgnored(SIGTSTP, onStop);
    write(hiddenCursor);
}

void Console::onInterrupt(std::function<void(int)> handler)
{
    for (const int number : { SIGINT, SIGTERM, SIGHUP }) {
        onWokenUp(number, [handler, number]() { handler(128 + number); });
    }
    isInterruptHandled = 1;
}
