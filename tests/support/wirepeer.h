// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_WIREPEER_H
#define HNIPC_TESTS_WIREPEER_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMetaType>

#include <functional>

// One message as it crossed the bus. Bodies are GVariant text, so that tables of them read as text.
struct WireMessage
{
    enum Type { Invalid, MethodCall, MethodReturn, Error, Signal };

    WireMessage();

    // "path interface.member signature body" of a call or a signal, for a comparison in one line
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

// A program at the other end of the bus that shares no code with the library nor with Qt D-Bus.
// It records and answers on a thread of its own, so also while the test's thread blocks in a call.
class WirePeer
{
public:
    WirePeer();
    explicit WirePeer(const BusProcess &bus); // another bus than the one in the system bus' place
    ~WirePeer();                              // leaves the bus at once, with all its names

    QByteArray uniqueName() const;
    bool own(const QByteArray &busName);      // true when this peer is now the owner
    bool takeOver(const QByteArray &busName); // also from an owner that took it over
    bool release(const QByteArray &busName);
    void sync(); // all that was sent has passed the bus daemon

    // As a daemon. Members without an answer of their own get an UnknownMethod error.
    void setIntrospection(const QByteArray &xml); // without it: UnknownMethod error
    int introspections() const;
    // Done on a thread of its own before the answer goes out.
    void whenIntrospected(const std::function<void()> &action);
    void answer(const QByteArray &member, const QByteArray &body);
    void answerError(const QByteArray &member, const QByteArray &errorName, const QByteArray &text);
    void answerAll(const QByteArray &body);
    void ignore(const QByteArray &member);  // never answers
    void leaveOn(const QByteArray &member); // leaves the bus instead of answering
    void hold(const QByteArray &member);    // answers when answerHeld() says so
    int held() const;
    void answerHeld(int number, const QByteArray &body); // by arrival, from 0 on; each once
    void clearAnswers();                                 // UnknownMethod error for those held, too
    QList<WireMessage> calls() const;                    // without Introspect, Peer and Properties
    void clearCalls();

    // As a sender of signals. The signal has passed the bus daemon when this returns.
    bool emitSignal(const QByteArray &path, const QByteArray &interface, const QByteArray &member,
                    const QByteArray &body = "()", const QByteArray &destination = QByteArray());

    // As a caller. Turns the Qt event loop until the answer is there, so that objects of this
    // process can be called, too. Invalid when there is none. A call may do without an interface.
    WireMessage call(const QByteArray &destination, const QByteArray &path,
                     const QByteArray &interface, const QByteArray &member,
                     const QByteArray &body = "()");

    // As a listener. The bus daemon's notes to this peer about its own names are left out.
    bool listen(const QByteArray &matchRule);
    QList<WireMessage> receivedSignals() const;
    // How many signals of this name and with this body came; an empty body is any. It costs the
    // same however many came, so it is what to wait for in a flood.
    int heard(const QByteArray &member, const QByteArray &body = QByteArray()) const;
    void clearSignals();

private:
    Q_DISABLE_COPY(WirePeer)

    struct Private;
    Private *d;
};

// Sees every message that crosses the bus, to show what was sent and that nothing else was.
class WireMonitor
{
public:
    WireMonitor();
    ~WireMonitor();

    // What crossed the bus since the last call of this function or of clear().
    QList<WireMessage> take();
    // The method calls among them that this sender made, without the bus daemon's own methods
    // and without introspection.
    QList<WireMessage> takeCallsFrom(const QByteArray &sender);
    void clear();

private:
    Q_DISABLE_COPY(WireMonitor)

    struct Private;
    Private *d;
};

// The text of a GVariant in the form in which bodies are printed, from any spelling of it.
QByteArray wireText(const QByteArray &text);

#endif
