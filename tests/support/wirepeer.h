// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_WIREPEER_H
#define HNIPC_TESTS_WIREPEER_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMetaType>

#include <functional>

// One message as it crossed the bus. Bodies are GVariant text, so that tables of them are readable.
struct WireMessage
{
    enum Type { Invalid, MethodCall, MethodReturn, Error, Signal };

    WireMessage();

    // "path interface.member signature body" of a call or a signal, for comparisons in one line
    QByteArray line() const;

    Type type;
    bool replyExpected;
    bool autoStart;
    QByteArray sender;
    QByteArray destination;
    QByteArray path;
    QByteArray interface;
    QByteArray member;
    QByteArray errorName;
    QByteArray signature; // of the body, without outer parentheses: "iit"
    QByteArray body;      // "(1, 2, uint64 0)"; "()" when empty
};

Q_DECLARE_METATYPE(WireMessage)

class BusProcess;

// A program on the bus without code of the library or of Qt D-Bus. It records and replies on its
// own thread, so it works even while the test's thread blocks in a call.
class WirePeer
{
public:
    WirePeer();
    explicit WirePeer(const BusProcess &bus); // a bus other than the private bus
    ~WirePeer();                              // leaves the bus immediately, with all its names

    QByteArray uniqueName() const;
    bool own(const QByteArray &busName);      // true if this peer owns the name now
    bool takeOver(const QByteArray &busName); // also from an owner that took it over
    bool release(const QByteArray &busName);
    void sync(); // waits until the bus daemon has handled all sent messages

    // As a daemon. Members without a reply of their own get an UnknownMethod error.
    void setIntrospection(const QByteArray &xml); // without it: UnknownMethod error
    int introspections() const;
    // The action runs on its own thread before the reply is sent.
    void whenIntrospected(const std::function<void()> &action);
    void answer(const QByteArray &member, const QByteArray &body);
    void answerError(const QByteArray &member, const QByteArray &errorName, const QByteArray &text);
    void answerAll(const QByteArray &body);
    void ignore(const QByteArray &member);  // never replies
    void leaveOn(const QByteArray &member); // leaves the bus instead of replying
    void hold(const QByteArray &member);    // replies when answerHeld() is called
    int held() const;
    void answerHeld(int number, const QByteArray &body); // in order of arrival, from 0; once each
    void clearAnswers();                                 // UnknownMethod error for held calls, too
    QList<WireMessage> calls() const;                    // without Introspect, Peer and Properties
    void clearCalls();

    // As a sender of signals. When this returns, the bus daemon has handled the signal.
    bool emitSignal(const QByteArray &path, const QByteArray &interface, const QByteArray &member,
                    const QByteArray &body = "()", const QByteArray &destination = QByteArray());

    // As a caller. Turns the Qt event loop until the reply arrives, so that objects of this process
    // can be called, too. The message is invalid without a reply. A call may have no interface.
    WireMessage call(const QByteArray &destination, const QByteArray &path,
                     const QByteArray &interface, const QByteArray &member,
                     const QByteArray &body = "()");

    // As a subscriber. The bus daemon's signals to this peer about its own names are left out.
    bool listen(const QByteArray &matchRule);
    QList<WireMessage> receivedSignals() const;
    // The number of received signals with this name and this body; an empty body matches any. Its
    // cost does not depend on that number. Use it to wait for the end of a flood.
    int heard(const QByteArray &member, const QByteArray &body = QByteArray()) const;
    void clearSignals();

private:
    Q_DISABLE_COPY(WirePeer)

    struct Private;
    Private *d;
};

// Records every message that crosses the bus, to show which messages were sent, and no others.
class WireMonitor
{
public:
    WireMonitor();
    ~WireMonitor();

    // The messages that crossed the bus since the last call of this function or of clear().
    QList<WireMessage> take();
    // The method calls among them that this sender made, without calls of the bus daemon's methods
    // and without introspection.
    QList<WireMessage> takeCallsFrom(const QByteArray &sender);
    void clear();

private:
    Q_DISABLE_COPY(WireMonitor)

    struct Private;
    Private *d;
};

// Converts a GVariant text, in any spelling, to the form in which bodies are printed.
QByteArray wireText(const QByteArray &text);

#endif
