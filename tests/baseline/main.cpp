// SPDX-License-Identifier: MIT
//
// hnipc-baseline COMMAND: compares the built interface with the recorded one.
//   hnipc-baseline check PART...        prints the differences and the programs concerned; fails
//                                       if there are any
//   hnipc-baseline permit [--unreleased | DIRECTORY]
//                                       checks that the version permits recording the interface, after
//                                       the one that is recorded here or in the directory
//   hnipc-baseline record               records it
#include "answers.h"
#include "binaryinterface.h"
#include "judgement.h"
#include "metaobjects.h"
#include "wire.h"

#include <hnipc/hnipc_version.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

#include <cstdio>
#include <stdexcept>

namespace {

const char versionNow[] = HNIPC_VERSION_STRING;

struct Part
{
    const char *name;
    const char *file;
    const char *library; // for a binary interface, with its headers
    const char *headers;
};

const Part parts[] = {
    { "answers", "answers.txt", 0, 0 },
    { "metaobject", "metaobject.txt", 0, 0 },
    { "wire", "wire.txt", 0, 0 },
#ifdef HNIPC_ABIDW
    { "abi", HNIPC_ABI_FILE, HNIPC_LIBRARY, HNIPC_HEADERS },
    { "abi_async", HNIPC_ASYNC_ABI_FILE, HNIPC_ASYNC_LIBRARY, HNIPC_ASYNC_HEADERS },
#endif
};

QString recordedDirectory = QFile::decodeName(HNIPC_RECORDED_DIR);

QString path(const char *file) { return recordedDirectory + '/' + file; }

QByteArray contents(const char *name)
{
    QFile file(path(name));
    if (!file.exists()) {
        return QByteArray();
    }
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error((file.fileName() + ": " + file.errorString()).toStdString());
    }
    return file.readAll();
}

void write(const char *name, const QByteArray &text)
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush()) {
        throw std::runtime_error((file.fileName() + ": " + file.errorString()).toStdString());
    }
}

#ifdef HNIPC_ABIDW
QByteArray described(const char *library)
{
    QProcess abidw;
    abidw.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    abidw.start(QFile::decodeName(HNIPC_ABIDW),
                QStringList() << "--suppressions" << HNIPC_ABIDW_SUPPRESSIONS << "--short-locs"
                              << "--no-corpus-path"
                              << "--no-comp-dir-path" << QFile::decodeName(library));
    if (!abidw.waitForFinished(-1) || abidw.exitStatus() != QProcess::NormalExit
        || abidw.exitCode() != 0) {
        throw std::runtime_error("abidw could not read " + std::string(library) + ": "
                                 + abidw.errorString().toStdString());
    }
    return abidw.readAllStandardOutput();
}
#endif

Entries current(const Part &part)
{
#ifdef HNIPC_ABIDW
    if (part.library) {
        return binaryInterface(described(part.library), QByteArray(part.headers).split(' '));
    }
#endif
    if (part.name == QByteArray("answers")) {
        return answers();
    }
    return part.name == QByteArray("wire") ? wireContract(HNIPC_INTERFACES_DIR) : metaObjects();
}

QByteArray recordedVersion() { return contents("version").trimmed(); }

int check(const Part &part)
{
    const Judgement judgement = judge(entriesIn(contents(part.file)), current(part));
    if (judgement.verdict == Same) {
        return 0;
    }
    const QByteArray recorded = recordedVersion();
    const QByteArray next = versionAfter(recorded, judgement.verdict);
    std::printf(
        "%s differs from version %s, which is recorded in tests/baseline/recorded/%s:\n\n%s",
        part.name, recorded.constData(), part.file, judgement.report.constData());
    if (judgement.verdict == Break) {
        std::printf(
            "This breaks existing programs. If it is necessary, the next version is %s, and the "
            "soname ends in .so.%s.\n",
            next.constData(), next.left(next.indexOf('.')).constData());
    } else {
        std::printf("This breaks no existing program. The next version is %s.\n", next.constData());
    }
    std::printf("Set it in CMakeLists.txt, then run scripts/baseline; see CONTRIBUTING.md.\n");
    return 1;
}

int checkVersion()
{
    if (recordedVersion() == versionNow) {
        return 0;
    }
    std::printf(
        "The recorded interface is that of version %s, and this is %s: run scripts/baseline.\n",
        recordedVersion().constData(), versionNow);
    return 1;
}

// Recording only some parts would mix versions in the recorded interface.
void needAllParts()
{
#ifndef HNIPC_ABIDW
    throw std::runtime_error(
        "this build does not check the binary interface, so it cannot record it");
#endif
}

int permit(bool unreleased)
{
    needAllParts();
    int result = 0;
    for (const Part &part : parts) {
        const QByteArray recorded = contents(part.file);
        const Judgement judgement = judge(entriesIn(recorded), current(part));
        if (judgement.verdict == Same || recorded.isEmpty()) {
            continue;
        }
        std::printf("%s:\n%s", part.file, judgement.report.constData());
        const QByteArray needed = versionAfter(recordedVersion(), judgement.verdict);
        if (!unreleased && !isAtLeast(versionNow, needed)) {
            std::printf("This needs version %s; the version is %s.\n\n", needed.constData(),
                        versionNow);
            result = 1;
        }
    }
    return result;
}

int record()
{
    needAllParts();
    for (const Part &part : parts) {
        const QByteArray text = textOf(current(part));
        if (text != contents(part.file)) {
            write(part.file, text);
            std::printf("recorded: tests/baseline/recorded/%s\n", part.file);
        }
    }
    write("version", versionNow + QByteArray("\n"));
    return 0;
}

int run(const QStringList &arguments)
{
    const QString command = arguments.value(1);
    if (command == QLatin1String("permit")) {
        const bool unreleased = arguments.value(2) == QLatin1String("--unreleased");
        if (arguments.size() > 2 && !unreleased) {
            recordedDirectory = arguments.at(2);
        }
        return permit(unreleased);
    }
    if (command == QLatin1String("record")) {
        return record();
    }
    if (command == QLatin1String("check") && arguments.value(2) == QLatin1String("version")) {
        return checkVersion();
    }
    for (const Part &part : parts) {
        if (command == QLatin1String("check") && arguments.value(2) == QLatin1String(part.name)) {
            return check(part);
        }
    }
    std::fprintf(stderr, "expected: check PART, permit [--unreleased | DIRECTORY] or record\n");
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    try {
        return run(application.arguments());
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
