// SPDX-License-Identifier: MIT
#include "interfaces.h"
#include "contract.h"

#include <QtCore/QFile>

namespace Expected {

namespace {

QByteArray qtTypeOf(const QByteArray &type)
{
    static const char *const types[][2] = {
        { "b", "bool" },         { "i", "int" },         { "u", "uint" },
        { "t", "qulonglong" },   { "d", "double" },      { "s", "QString" },
        { "as", "QStringList" }, { "ay", "QByteArray" }, { "", "" },
    };
    for (const auto &row : types) {
        if (type == row[0]) {
            return row[1];
        }
    }
    qFatal("no type of Qt for %s", type.constData());
    return QByteArray();
}

QList<ServerSlot> read(int server)
{
    const QByteArray interface = identities[server].interface;
    QFile file(QFile::decodeName(HNIPC_INTERFACES_DIR "/" + interface + ".xml"));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    }
    const Contract::Members members = Contract::interfacesIn(file.readAll()).value(interface);
    QMap<QByteArray, QByteArray> sent; // the D-Bus types of the signals
    for (const Contract::Member &signal : Contract::signalsAmong(members)) {
        sent.insert(signal.name, signal.signature());
    }

    QList<ServerSlot> result;
    for (const Contract::Member &method : Contract::methodsAmong(members)) {
        ServerSlot slot;
        QByteArray types;
        for (const Contract::Argument &argument : method.arguments) {
            types += (types.isEmpty() ? "" : ",") + qtTypeOf(argument.type);
            slot.parameterNames += (slot.parameterNames.isEmpty() ? "" : ",") + argument.name;
        }
        slot.name = method.name;
        slot.signature = method.name + '(' + types + ')';
        slot.reply = method.resultClass.isEmpty() ? qtTypeOf(method.result) : method.resultClass;
        slot.in = method.signature();
        slot.out = method.result;
        slot.cloned = !result.isEmpty() && result.last().name == slot.name
            && result.last().signature.startsWith(slot.signature.left(slot.signature.size() - 1));
        if (slot.name.startsWith("pulse") && slot.name.endsWith("Signal")) {
            slot.member = QByteArray(identities[server].tag) + '_'
                + slot.name.mid(5, slot.name.size() - 11);
            if (!sent.contains(slot.member)) {
                qFatal("%s sends %s, which %s does not have", slot.name.constData(),
                       slot.member.constData(), interface.constData());
            }
            slot.memberTypes = sent.value(slot.member);
        }
        result.append(slot);
    }
    if (result.isEmpty()) {
        qFatal("%s has no methods", interface.constData());
    }
    return result;
}

} // namespace

const QList<ServerSlot> &serverSlots(int server)
{
    static const QList<ServerSlot> all[ServerCount] = { read(IOEXPD), read(M4), read(SUPPLYD) };
    return all[server];
}

} // namespace Expected
