// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_TOOLS_CTLPROGRAM_H
#define HNIPC_TESTS_TOOLS_CTLPROGRAM_H

#include "support/privatebus.h"
#include "support/process.h"

#include <QtCore/QFile>
#include <QtCore/QMap>

using Environment = QMap<QString, QString>;

inline QString text(const char *utf8) { return QString::fromUtf8(utf8); }

// Splits "call setDac 5" into its words. A space at the end is followed by an empty word.
inline QStringList words(const char *command) { return text(command).split(QLatin1Char(' ')); }

inline bool write(const QString &fileName, const QByteArray &content)
{
    QFile file(fileName);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

// Empty if the file cannot be read.
inline QByteArray content(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A process of hnipcctl.
class Ctl : public Process
{
public:
    Ctl() = default;

    explicit Ctl(const QStringList &arguments, const Environment &environment = {})
    {
        begin(QStringLiteral(HNIPC_TOOLS_DIR "/hnipcctl"), arguments, environment);
    }

    // In the shell, with the program on the PATH.
    static Ctl *inShell(const QString &command, const Environment &environment = {})
    {
        Ctl *result = new Ctl;
        result->begin(QStringLiteral("bash"), { QStringLiteral("-c"), command }, environment);
        return result;
    }

    // On its own terminal, which receives standard output and standard error.
    static Ctl *onTerminal(const QString &command, const Environment &environment = {})
    {
        Ctl *result = new Ctl;
        result->begin(QStringLiteral("script"),
                      { QStringLiteral("-qec"), command, QStringLiteral("/dev/null") },
                      environment);
        return result;
    }

    // Returns the output after the program has ended.
    QByteArray out()
    {
        ends();
        return output();
    }

    QByteArray err()
    {
        ends();
        return errors();
    }

    void interrupt() { send(SIGINT); }
    void type(const QByteArray &keys) { write(keys); }
    void endInput() { closeWriteChannel(); }

private:
    void begin(const QString &program, const QStringList &arguments, const Environment &environment)
    {
        QProcessEnvironment all = QProcessEnvironment::systemEnvironment();
        for (const char *name : { "NO_COLOR", "COLORTERM", "HNIPC_DATA_DIR" }) {
            all.remove(QLatin1String(name));
        }
        all.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
        all.insert(QStringLiteral("PATH"),
                   QStringLiteral(HNIPC_TOOLS_DIR ":") + all.value(QStringLiteral("PATH")));
        for (auto variable = environment.begin(); variable != environment.end(); ++variable) {
            all.insert(variable.key(), variable.value());
        }
        setProcessEnvironment(all);
        start(program, arguments);
    }
};

#endif
