// SPDX-License-Identifier: MIT
#include <hnipc/hnipcreading.h>

#include "async/bus_p.h"
#include "async/event_p.h"
#include "async/failures_p.h"
#include "async/remotemethod_p.h"
#include "common/serviceidentity_p.h"

#include <QtCore/QBasicTimer>
#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtCore/QTimerEvent>

static const int shortestPause = 250; // in ms, after a read that failed
static const int longestPause = 30 * 1000;

namespace {

// The properties of HNIPC. SupplyChanged can be about another printer, so its argument is not used
// as the value.
struct ClientProperty
{
    const char *name;
    const char *method;
    const char *signal;
    int valueArgument;
};

const ClientProperty clientProperties[] = {
    { "qmlSupplyPercent", "supplySupplyPercent", "SupplyPercentChanged", 0 },
    { "qmlSupplyColorRGB", "supplySupplyRGB", "SupplyRGBChanged", 0 },
    { "qmlRibbonPercent", "supplyRibbon1Percent", "Ribbon1PercentChanged", 0 },
    { "qmlRibbonColorRGBs", "supplyRibbon1RGBs", "Ribbon1RGBsChanged", 0 },
    { "qmlSupplySKU", "supplySKUCached", "SupplyChanged", -1 },
    { "qmlPrintEngineErrorCode", "getError", "Error", 0 },
    { "qmlPrintEngineAlertCode", "getAlert", "Alert", 0 },
    { "qmlBatteryStatus", "getBatteryStatus", "M4BatteryUpdate", 0 },
};

const ClientProperty *clientProperty(const QString &name)
{
    for (const ClientProperty &property : clientProperties) {
        if (name == QLatin1String(property.name)) {
            return &property;
        }
    }
    return nullptr;
}

// The properties of a reading that changed() announces.
struct State
{
    State() : isKnown(false), isCurrent(false) {}
    explicit State(const HNIPCFailure &why) : isKnown(false), isCurrent(false), failure(why) {}

    bool operator==(const State &other) const
    {
        return isKnown == other.isKnown && isCurrent == other.isCurrent && value == other.value
            && failure.reason == other.failure.reason
            && failure.errorName == other.failure.errorName
            && failure.errorText == other.failure.errorText;
    }

    bool isKnown;
    bool isCurrent;
    QVariant value;
    HNIPCFailure failure; // why the value is unknown or could not be read again
};

// Whether values and types are the same. QVariants with the values 5 and "5" are equal, but make
// different calls.
bool isSame(const QVariantList &one, const QVariantList &other);

bool isSame(const QVariant &one, const QVariant &other)
{
    if (one.userType() != other.userType()) {
        return false;
    }
    return one.userType() == QMetaType::QVariantList ? isSame(one.toList(), other.toList())
                                                     : one == other;
}

bool isSame(const QVariantList &one, const QVariantList &other)
{
    if (one.size() != other.size()) {
        return false;
    }
    for (int i = 0; i < one.size(); ++i) {
        if (!isSame(one.at(i), other.at(i))) {
            return false;
        }
    }
    return true;
}

QEvent::Type configureEvent()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

} // namespace

// A child of the reading, so that it is moved to another thread with it.
class HNIPCReadingPrivate : public QObject
{
    Q_OBJECT

public:
    explicit HNIPCReadingPrivate(HNIPCReading *reading);
    virtual ~HNIPCReadingPrivate();

    // Emits the signal; the event loop then calls configure().
    void reconfigure(void (HNIPCReading::*signal)());
    void read();

    QString method;
    QVariantList arguments;
    QStringList signalNames;
    int valueArgument;
    int deadline;
    State state;

protected:
    virtual void customEvent(QEvent *event);
    virtual void timerEvent(QTimerEvent *event);

private Q_SLOTS:
    void onFinished();

private:
    void configure();
    void subscribe(quint64 rows);
    void unsubscribe();
    void renewRequest();
    void setState(const State &newState);
    void onNews(const News &news);
    void onSignal(const News &news);
    void becomeUnknown(const State &reason);

    HNIPCReading *const q;
    bool isReconfigured;          // and configure() was not called yet
    QString called;               // the method; for a property, its method
    SubscriberPointer subscriber; // null before the first subscription
    HNIPCServer::ServerType daemon;
    int resultType;
    int argumentOfValue;
    bool isAbsent; // the daemon is not running, or the bus has not reported yet
    HNIPCRequest *request;
    bool isOutdated;   // a signal arrived after the pending read was sent
    bool isToFollow;   // one more read is needed after the pending one
    bool isFromSignal; // no read has confirmed the value yet
    QBasicTimer pause; // until a failed read is repeated
    int pauseLength;
};

HNIPCReadingPrivate::HNIPCReadingPrivate(HNIPCReading *reading)
    : QObject(reading), valueArgument(-1), deadline(-1), q(reading), isReconfigured(false),
      daemon(HNIPCServer::IOEXPD), resultType(0), argumentOfValue(-1), isAbsent(true),
      request(nullptr), isOutdated(false), isToFollow(false), isFromSignal(false),
      pauseLength(shortestPause)
{
}

HNIPCReadingPrivate::~HNIPCReadingPrivate() { unsubscribe(); }

// ---- Configuration -------------------------------------------------------------------------

void HNIPCReadingPrivate::reconfigure(void (HNIPCReading::*signal)())
{
    unsubscribe();
    delete request;
    request = nullptr;
    if (!isReconfigured) {
        QCoreApplication::postEvent(this, new QEvent(configureEvent()));
    }
    isReconfigured = true;
    const QPointer<HNIPCReading> guard = q; // a receiver may destroy it, or run an event loop
    setState(State());
    if (guard) {
        emit(q->*signal)();
    }
}

void HNIPCReadingPrivate::configure()
{
    isReconfigured = false;
    const ClientProperty *property = clientProperty(method);
    called = property ? QString::fromLatin1(property->method) : method;
    const bool isOwnSignal = property && signalNames.isEmpty();
    const QStringList names = isOwnSignal ? QStringList(QString::fromLatin1(property->signal))
                                          : signalNames;
    argumentOfValue = isOwnSignal ? property->valueArgument : valueArgument;
    if (called.isEmpty()) {
        return;
    }

    const QList<RemoteMethod> overloads = remoteMethods(called);
    if (overloads.isEmpty()) {
        setState(State(unknownMethod(called)));
        return;
    }
    QVariantList fitted;
    QString error;
    if (!fittingMethod(overloads, arguments, &fitted, &error)) {
        setState(State(invalidArguments(error)));
        return;
    }
    quint64 rows = 0;
    for (int i = 0; i < names.size(); ++i) {
        const int row = rowOfSignal(names.at(i));
        if (row == noRow) {
            setState(State(invalidArguments(
                QString::fromLatin1("the printer has no signal \"%1\"").arg(names.at(i)))));
            return;
        }
        rows |= Q_UINT64_C(1) << row;
    }
    daemon = overloads.first().daemon; // all overloads have the same daemon and result
    resultType = overloads.first().resultType;
    pauseLength = shortestPause;
    renewRequest();
    subscribe(rows);
}

void HNIPCReadingPrivate::subscribe(quint64 rows)
{
    subscriber.reset(new Subscriber(this));
    subscriber->daemons = 1 << daemon;
    subscriber->rows = rows;
    isAbsent = true; // until the bus reports the daemon
    Bus::instance()->subscribe(subscriber);
}

void HNIPCReadingPrivate::unsubscribe()
{
    if (subscriber) {
        Bus::instance()->unsubscribe(subscriber);
    }
}

// ---- Reading -------------------------------------------------------------------------------

void HNIPCReadingPrivate::read()
{
    pause.stop();
    if (!request || isAbsent) {
        return;
    }
    request->setDeadline(deadline);
    isToFollow = !request->send();
    if (!isToFollow) {
        isOutdated = false;
    }
}

void HNIPCReadingPrivate::onFinished()
{
    const bool isOneMoreWanted = isToFollow;
    // A timeout is reported even if signals have made the read outdated.
    if (isOutdated && request->reason() != HNIPCRequest::TimedOut) {
        read();
        return;
    }
    State newState;
    if (request->outcome() == HNIPCRequest::Answered) {
        newState.isKnown = newState.isCurrent = true;
        newState.value = request->value();
        isFromSignal = false;
        pauseLength = shortestPause;
        if (isOneMoreWanted) {
            read();
        }
    } else {
        if (isFromSignal) {
            newState = state;
        }
        newState.failure = HNIPCFailure(request->outcome(), request->reason(), request->errorName(),
                                        request->errorText());
        pause.start(pauseLength, this);
        pauseLength = qMin(2 * pauseLength, longestPause);
    }
    setState(newState);
}

void HNIPCReadingPrivate::timerEvent(QTimerEvent *) { read(); }

void HNIPCReadingPrivate::customEvent(QEvent *event)
{
    News news(News::Signal);
    if (event->type() == configureEvent()) {
        configure();
    } else if (subscriber && subscriber->mailbox.takeForReceivers(&news)) {
        onNews(news);
    }
}

void HNIPCReadingPrivate::onNews(const News &news)
{
    switch (news.kind) {
    case News::Signal:
        onSignal(news);
        break;
    case News::BusLost:
        isAbsent = true;
        becomeUnknown(State(noBus()));
        break;
    case News::DaemonAbsent:
        isAbsent = true;
        becomeUnknown(State(daemonAbsent(serviceIdentity(daemon)->busName)));
        break;
    case News::DaemonPresent:
        isAbsent = false;
        becomeUnknown(State());
        break;
    case News::Listening:
        break;
    }
}

// A pending read is dropped: it was sent to a daemon that has disappeared.
void HNIPCReadingPrivate::becomeUnknown(const State &why)
{
    if (request->isPending()) {
        renewRequest();
    }
    pauseLength = shortestPause;
    read();
    setState(why);
}

void HNIPCReadingPrivate::renewRequest()
{
    delete request;
    request = new HNIPCRequest(this);
    request->setMethod(called);
    request->setArguments(arguments);
    connect(request, SIGNAL(finished()), SLOT(onFinished()));
}

void HNIPCReadingPrivate::onSignal(const News &news)
{
    if (isAbsent) { // the signal is of another daemon
        return;
    }
    State newState = state;
    newState.isCurrent = false;
    const QVariant value = converted(news.values.value(argumentOfValue), resultType);
    isFromSignal = value.isValid();
    if (isFromSignal) {
        newState.isKnown = true;
        newState.value = value;
    }
    isOutdated = request->isPending();
    // After a timeout, a signal does not end the pause: the daemon gets no extra calls.
    if (!pause.isActive() || state.failure.reason != HNIPCRequest::TimedOut) {
        read();
    }
    setState(newState);
}

// A receiver may destroy the reading: after a call of this, no member is used without a guard.
void HNIPCReadingPrivate::setState(const State &newState)
{
    if (newState == state) {
        return;
    }
    state = newState;
    emit q->changed();
}

// ---- The reading ---------------------------------------------------------------------------

HNIPCReading::HNIPCReading(QObject *parent) : QObject(parent), d(new HNIPCReadingPrivate(this)) {}

HNIPCReading::~HNIPCReading() {}

QString HNIPCReading::method() const { return d->method; }

void HNIPCReading::setMethod(const QString &method)
{
    if (method == d->method) {
        return;
    }
    d->method = method;
    d->reconfigure(&HNIPCReading::methodChanged);
}

QVariantList HNIPCReading::arguments() const { return d->arguments; }

// A QML binding sets the arguments again whenever one of its inputs has changed. Equal arguments must
// not make the value unknown.
void HNIPCReading::setArguments(const QVariantList &arguments)
{
    if (isSame(arguments, d->arguments)) {
        return;
    }
    d->arguments = arguments;
    d->reconfigure(&HNIPCReading::argumentsChanged);
}

QStringList HNIPCReading::signalNames() const { return d->signalNames; }

void HNIPCReading::setSignalNames(const QStringList &names)
{
    if (names == d->signalNames) {
        return;
    }
    d->signalNames = names;
    d->reconfigure(&HNIPCReading::signalNamesChanged);
}

int HNIPCReading::valueArgument() const { return d->valueArgument; }

void HNIPCReading::setValueArgument(int index)
{
    if (index == d->valueArgument) {
        return;
    }
    d->valueArgument = index;
    d->reconfigure(&HNIPCReading::valueArgumentChanged);
}

int HNIPCReading::deadline() const { return d->deadline; }

void HNIPCReading::setDeadline(int milliseconds)
{
    if (milliseconds == d->deadline) {
        return;
    }
    d->deadline = milliseconds;
    emit deadlineChanged();
}

bool HNIPCReading::isKnown() const { return d->state.isKnown; }

bool HNIPCReading::isCurrent() const { return d->state.isCurrent; }

QVariant HNIPCReading::value() const { return d->state.value; }

HNIPCRequest::Reason HNIPCReading::reason() const { return d->state.failure.reason; }

QString HNIPCReading::errorName() const { return d->state.failure.errorName; }

QString HNIPCReading::errorText() const { return d->state.failure.errorText; }

void HNIPCReading::read() { d->read(); }

#include "hnipc/moc_hnipcreading.cpp"
#include "hnipcreading.moc"
