// SPDX-License-Identifier: MIT
// A program on the bus that carries out the commands on its standard input. It reports each result
// in one line, with tabs between the fields.

#include "support/wirepeer.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QList>

#include <iostream>
#include <string>

namespace {

QByteArray reported(const WireMessage &reply)
{
    switch (reply.type) {
    case WireMessage::MethodReturn:
        return "answered " + reply.body;
    case WireMessage::Error:
        return reply.errorName;
    default:
        return "no answer";
    }
}

QByteArray listed(const QList<WireMessage> &messages)
{
    QByteArray result;
    for (const WireMessage &message : messages) {
        result += (result.isEmpty() ? "" : "\t") + message.interface + '.' + message.member + ' '
            + message.body;
    }
    return result;
}

QByteArray obey(WirePeer &peer, const QList<QByteArray> &words)
{
    const QByteArray verb = words.at(0);
    if (verb == "call") { // destination, interface, member, body
        return reported(peer.call(words.at(1), "/", words.at(2), words.at(3), words.at(4)));
    }
    if (verb == "signal") { // interface, member, body, destination
        const bool sent = peer.emitSignal("/", words.at(1), words.at(2), words.at(3), words.at(4));
        return sent ? "sent" : "not sent";
    }
    if (verb == "listen") { // match rule
        return peer.listen(words.at(1)) ? "listening" : "not listening";
    }
    if (verb == "answer") { // member, body
        peer.answer(words.at(1), words.at(2));
        return "will do";
    }
    if (verb == "calls") { // calls since the last time
        const QByteArray result = listed(peer.calls());
        peer.clearCalls();
        return result;
    }
    if (verb == "signals") {
        return listed(peer.receivedSignals());
    }
    if (verb == "forget") {
        peer.clearSignals();
        return "forgotten";
    }
    return "what?";
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    WirePeer peer;
    peer.answerAll("(true,)");
    peer.setIntrospection("<node/>");
    std::cout << peer.uniqueName().constData() << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
        const QByteArray order(line.data(), int(line.size()));
        std::cout << obey(peer, order.split('\t')).constData() << std::endl;
    }
    return 0;
}
