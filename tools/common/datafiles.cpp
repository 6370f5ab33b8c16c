// SPDX-License-Identifier: MIT
#include "common/datafiles.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

QStringList directoriesOf(const QString &ownDirectory, const QString &shareDirectory)
{
    QStringList result;
    if (!ownDirectory.isEmpty()) {
        result += ownDirectory;
    }
    result += QCoreApplication::applicationDirPath() + QLatin1String("/" HNIPC_DATADIR_FROM_BIN "/")
        + shareDirectory;
    result += QLatin1String(HNIPC_DATADIR "/") + shareDirectory;
    return result;
}

QString firstFile(const QString &name, const QString &ownDirectory, const QString &shareDirectory)
{
    const QStringList directories = directoriesOf(ownDirectory, shareDirectory);
    for (const QString &directory : directories) {
        const QString file = QDir::cleanPath(directory + QLatin1Char('/') + name);
        if (QFileInfo(file).isFile()) {
            return file;
        }
    }
    return QString();
}

QString ownDataDirectory() { return qEnvironmentVariable("HNIPC_DATA_DIR"); }

} // namespace

QString Toolkit::dataFile(const QString &name)
{
    return firstFile(name, ownDataDirectory(), QStringLiteral("hnipc"));
}

QStringList Toolkit::dataFiles(const QString &name)
{
    QStringList result;
    const QStringList directories = directoriesOf(ownDataDirectory(), QStringLiteral("hnipc"));
    for (const QString &directory : directories) {
        result += QDir(directory + QLatin1Char('/') + name).entryList(QDir::Files);
    }
    result.removeDuplicates();
    result.sort();
    return result;
}

QString Toolkit::interfaceFile(const QString &interfaceName)
{
    const QString own = ownDataDirectory();
    return firstFile(interfaceName + QLatin1String(".xml"),
                     own.isEmpty() ? own : own + QLatin1String("/interfaces"),
                     QStringLiteral("dbus-1/interfaces"));
}

QString Toolkit::siblingProgram(const QString &name)
{
    const QFileInfo file(QCoreApplication::applicationDirPath() + QLatin1Char('/') + name);
    return file.isFile() && file.isExecutable() ? file.filePath() : QString();
}
