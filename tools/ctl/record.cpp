// SPDX-License-Identifier: MIT
#include "console.h"
#include "outputfile.h"
#include "signalfeed.h"
#include "trace.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>

namespace {

// Each line is written at once with one system call, so that the file has complete lines however the
// program ends.
class Lines
{
public:
    Lines(const Context &context, const QString &fileName)
        : m_file(context, fileName), m_toOutput(m_file.isStandardOutput())
    {
    }

    int check() const { return m_file.check(); }

    bool create()
    {
        if (m_toOutput) {
            Console::failInJson(false); // a failure must not become a line of the trace
        }
        return m_toOutput || m_file.create();
    }

    bool write(const QJsonObject &object)
    {
        if (m_toOutput) {
            Console::printLine(object);
            Console::flush();
            return true;
        }
        const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
        const qint64 end = m_file.pos();
        if (m_file.write(line) == line.size()) {
            return true;
        }
        m_error = m_file.errorString();
        m_file.resize(end); // removes an incomplete line
        return false;
    }

    QString error() const { return m_error.isEmpty() ? m_file.errorString() : m_error; }

private:
    OutputFile m_file;
    bool m_toOutput;
    QString m_error;
};

int check(const Context &context, const QStringList &arguments)
{
    const int limited = SignalLimit::check(context);
    return limited == Toolkit::Done ? Lines(context, arguments.first()).check() : limited;
}

int run(const Context &context, const QStringList &arguments)
{
    const QString fileName = arguments.first();
    SignalLimit limit(context);
    Lines lines(context, fileName);
    if (!lines.create() || !lines.write(traceHeader())) {
        return Console::fail(Toolkit::Failed, fileName + QLatin1String(": ") + lines.error());
    }

    std::vector<const ClientSignal *> wanted;
    for (const ClientSignal &signal : context.contract.clientSignals()) {
        wanted.push_back(&signal);
    }
    QElapsedTimer clock;
    clock.start();
    bool isWritable = true;
    SignalFeed feed(context, wanted, [&](const ClientSignal &signal, const QDBusMessage &message) {
        if (limit.isReached() || !isWritable) {
            return;
        }
        const double microseconds = double(clock.nsecsElapsed() / 1000);
        isWritable = lines.write(traceLine(microseconds / 1e6, signal, message));
        if (isWritable) {
            limit.count();
        } else {
            QCoreApplication::exit(
                Console::fail(Toolkit::Failed, fileName + QLatin1String(": ") + lines.error()));
        }
    });
    Console::note(QStringLiteral("recording %1 signals; Ctrl-C ends").arg(wanted.size()));
    return feed.run();
}

} // namespace

// clang-format off
const Command recordCommand = {
    "record", "FILE", "Writes every signal to a file, for \"replay\"",
    "Writes every signal of the daemons to FILE until Ctrl-C: its time, its arguments\n"
    "and their D-Bus types, as a JSON object in a line of its own. FILE - is standard\n"
    "output.",
    { { "count", "N", "end after N signals" },
      { "force", nullptr, "overwrite FILE" } },
    1, 1, true, nullptr, run, check, true
};
// clang-format on
