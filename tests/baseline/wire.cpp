// SPDX-License-Identifier: MIT
#include "wire.h"
#include "contract/contract.h"

#include <QtCore/QDir>
#include <QtCore/QMap>

#include <stdexcept>

namespace {

Entry wireEntry(const QByteArray &interface, const Contract::Member &member)
{
    QList<QByteArray> names;
    for (const Contract::Argument &argument : member.arguments) {
        names.append(argument.name);
    }
    QByteArray result = member.result;
    if (!member.resultClass.isEmpty()) {
        result += " as " + member.resultClass;
    }
    return Entry { interface, "dbus-" + member.kind,
                   -1,        member.name + '(' + member.signature() + ')',
                   result,    names.join(", ") };
}

} // namespace

Entries wireContract(const QString &directory)
{
    QMap<QByteArray, Entry> sorted;
    const QDir dir(directory);
    const QStringList files = dir.entryList(QStringList("*.xml"), QDir::Files);
    for (const QString &name : files) {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) {
            throw std::runtime_error((name + ": " + file.errorString()).toStdString());
        }
        const QMap<QByteArray, Contract::Members> interfaces = Contract::interfacesIn(
            file.readAll());
        if (interfaces.contains("?")) {
            throw std::runtime_error((name + " is not understood: ").toStdString()
                                     + interfaces.value("?").first().name.toStdString());
        }
        for (auto it = interfaces.constBegin(); it != interfaces.constEnd(); ++it) {
            for (const Contract::Member &member : it.value()) {
                const Entry entry = wireEntry(it.key(), member);
                sorted.insert(entry.section + '\n' + entry.kind + '\n' + entry.name, entry);
            }
        }
    }
    return sorted.values();
}
