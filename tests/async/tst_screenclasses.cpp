// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/signalrecorder.h"
#include "support/signature.h"
#include "support/table.h"
#include "support/waituntil.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QMetaEnum>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>
#include <QtCore/QScopedPointer>

using namespace Expected;

namespace {

// The requirements of QtDeclarative's qmlRegisterType(): a derived class can be constructed without
// arguments, in memory that the caller provides, and is destroyed through QObject.
template <typename Class>
class Element : public Class
{
public:
    virtual ~Element() {}
};

template <typename Class>
QObject *createElement()
{
    return new (::operator new(sizeof(Element<Class>))) Element<Class>;
}

struct ScreenClass
{
    const char *name;
    const QMetaObject *meta;
    QObject *(*create)();
};

const ScreenClass screenClasses[] = {
    { "HNIPCRequest", &HNIPCRequest::staticMetaObject, createElement<HNIPCRequest> },
    { "HNIPCReading", &HNIPCReading::staticMetaObject, createElement<HNIPCReading> },
    { "HNIPCEvents", &HNIPCEvents::staticMetaObject, createElement<HNIPCEvents> },
    { "HNIPCAvailability", &HNIPCAvailability::staticMetaObject, createElement<HNIPCAvailability> },
};

const ScreenClass &screenClass(const QByteArray &name)
{
    for (const ScreenClass &each : screenClasses) {
        if (name == each.name) {
            return each;
        }
    }
    qFatal("no class %s", name.constData());
    return screenClasses[0];
}

// QtDeclarative finds the signal of a handler by its name alone: onFinished belongs to finished.
QMetaMethod signalOfHandler(const QObject &object, QByteArray handler)
{
    handler.remove(0, 2);
    handler = handler.left(1).toLower() + handler.mid(1);
    const QMetaObject &meta = *object.metaObject();
    for (int i = meta.methodCount() - 1; i >= 0; --i) {
        const QByteArray signature = signatureOf(meta.method(i));
        if (meta.method(i).methodType() == QMetaMethod::Signal
            && signature.left(signature.indexOf('(')) == handler) {
            return meta.method(i);
        }
    }
    return QMetaMethod();
}

// A screen's JavaScript: its values are those of a script engine, its names those of the
// meta-object.
class Script
{
public:
    explicit Script(const char *className)
        : m_object(screenClass(className).create()), m_recorder(m_object.data())
    {
    }

    bool write(const char *name, const QVariant &value)
    {
        return property(name).write(m_object.data(), value);
    }

    QVariant read(const char *name) const { return property(name).read(m_object.data()); }

    // The values of properties, as text.
    QByteArray texts(const char *names) const
    {
        QList<QByteArray> result;
        const QList<QByteArray> list = QByteArray(names).split(' ');
        for (const QByteArray &name : list) {
            const QVariant value = read(name);
            const QMetaProperty property = this->property(name);
            result << (property.isEnumType()
                           ? QByteArray(property.enumerator().valueToKey(value.toInt()))
                           : value.isValid() ? value.toString().toUtf8()
                                             : QByteArray("undefined"));
        }
        return joined(result, ", ");
    }

    bool become(const char *names, const QByteArray &expected)
    {
        return waitUntil([&]() { return texts(names) == expected; });
    }

    int count(const QByteArray &handler)
    {
        const QByteArray signature = signatureOf(signalOfHandler(*m_object, handler));
        int result = 0;
        const QList<QByteArray> emissions = m_recorder.emissions();
        for (const QByteArray &each : emissions) {
            result += !signature.isEmpty() && each.startsWith(signature + ' ') ? 1 : 0;
        }
        return result;
    }

    bool waitForHandler(const QByteArray &handler, int times)
    {
        return waitUntil([&]() { return count(handler) == times; });
    }

    // The signature, and the values that the handler receives.
    QByteArray lastEmission() const { return m_recorder.emissions().last(); }

    bool call(const char *name) { return QMetaObject::invokeMethod(m_object.data(), name); }

    bool send()
    {
        bool result = false;
        return QMetaObject::invokeMethod(m_object.data(), "send", Q_RETURN_ARG(bool, result))
            && result;
    }

    bool send(const QVariantList &arguments)
    {
        bool result = false;
        return QMetaObject::invokeMethod(m_object.data(), "send", Q_RETURN_ARG(bool, result),
                                         Q_ARG(QVariantList, arguments))
            && result;
    }

private:
    QMetaProperty property(const char *name) const
    {
        const QMetaObject &meta = *m_object->metaObject();
        return meta.property(meta.indexOfProperty(name));
    }

    QScopedPointer<QObject> m_object;
    SignalRecorder m_recorder;
};

// Numbers of JavaScript are doubles.
QVariantList array(const QVariant &first) { return QVariantList() << first; }

// clang-format off
const struct
{
    const char *name;
    const char *property;
    const char *type;
    bool isWritable;
    const char *handler;
} propertyTable[] = {
    { "HNIPCRequest.method", "method", "QString", true, "onMethodChanged" },
    { "HNIPCRequest.parameters", "parameters", "QVariantList", true, "onArgumentsChanged" },
    { "HNIPCRequest.deadline", "deadline", "int", true, "onDeadlineChanged" },
    { "HNIPCRequest.pending", "pending", "bool", false, "onStateChanged" },
    { "HNIPCRequest.outcome", "outcome", "Outcome", false, "onStateChanged" },
    { "HNIPCRequest.reason", "reason", "Reason", false, "onStateChanged" },
    { "HNIPCRequest.done", "done", "bool", false, "onStateChanged" },
    { "HNIPCRequest.value", "value", "QVariant", false, "onStateChanged" },
    { "HNIPCRequest.errorName", "errorName", "QString", false, "onStateChanged" },
    { "HNIPCRequest.errorText", "errorText", "QString", false, "onStateChanged" },
    { "HNIPCRequest.elapsed", "elapsed", "int", false, "onStateChanged" },
    { "HNIPCReading.method", "method", "QString", true, "onMethodChanged" },
    { "HNIPCReading.parameters", "parameters", "QVariantList", true, "onArgumentsChanged" },
    { "HNIPCReading.signals", "signals", "QStringList", true, "onSignalNamesChanged" },
    { "HNIPCReading.valueArgument", "valueArgument", "int", true, "onValueArgumentChanged" },
    { "HNIPCReading.deadline", "deadline", "int", true, "onDeadlineChanged" },
    { "HNIPCReading.known", "known", "bool", false, "onChanged" },
    { "HNIPCReading.current", "current", "bool", false, "onChanged" },
    { "HNIPCReading.value", "value", "QVariant", false, "onChanged" },
    { "HNIPCReading.reason", "reason", "Reason", false, "onChanged" },
    { "HNIPCReading.errorName", "errorName", "QString", false, "onChanged" },
    { "HNIPCReading.errorText", "errorText", "QString", false, "onChanged" },
    { "HNIPCEvents.listening", "listening", "bool", false, "onListeningChanged" },
    { "HNIPCAvailability.known", "known", "bool", false, "onKnownChanged" },
    { "HNIPCAvailability.ioexpd", "ioexpd", "bool", false, "onIoexpdChanged" },
    { "HNIPCAvailability.m4", "m4", "bool", false, "onM4Changed" },
    { "HNIPCAvailability.supplyd", "supplyd", "bool", false, "onSupplydChanged" },
};

const struct { const char *name; const char *keys; } enumerationTable[] = {
    { "Outcome", "NoOutcome NotSent Answered Refused Unknown" },
    { "Reason", "NoReason DaemonError UnknownMethod InvalidArguments DaemonAbsent AccessDenied "
                "BusError BusLost TimedOut Cancelled DaemonLeft WrongType" },
};

const struct { const char *name; const char *className; const char *parameters; } handlerTable[] = {
    { "onFinished", "HNIPCRequest", "" },
    { "onChanged", "HNIPCReading", "" },
    { "onReceived", "HNIPCEvents", "QString name,QVariantList values" },
    { "onListeningChanged", "HNIPCEvents", "bool listening" },
    { "onM4Changed", "HNIPCAvailability", "bool available" },
};
// clang-format on

} // namespace

// The meta-objects of the classes, which are all that an application with QtDeclarative uses after
// it has registered the classes.
class tst_ScreenClasses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void canBeRegistered_data() { addTable(screenClasses); }
    void canBeRegistered();
    void properties_data() { addTable(propertyTable); }
    void properties();
    void enumerations_data() { addTable(enumerationTable); }
    void enumerations();
    void handlers_data() { addTable(handlerTable); }
    void handlers();
    void capitalSignalsHaveNoHandlers();

    void command();
    void commandThatIsRefused();
    void reading();
    void readingOfAProperty();
    void events();
    void availability();

private:
    WirePeer &m4() { return m_daemons[M4]; }

    AsyncDaemons m_daemons;
};

void tst_ScreenClasses::init()
{
    m4().clearAnswers();
    m_daemons.takeCalls();
}

// ---- The meta-objects ----------------------------------------------------------------------

void tst_ScreenClasses::canBeRegistered()
{
    const ScreenClass &row = currentRow(screenClasses);
    const QScopedPointer<QObject> object(row.create());
    QCOMPARE(object->metaObject(), row.meta);
    QCOMPARE(QByteArray(object->metaObject()->className()), QByteArray(row.name));
    QVERIFY(!object->parent());

    // The table of properties is complete.
    int properties = 0;
    for (const auto &property : propertyTable) {
        properties += QByteArray(property.name).startsWith(QByteArray(row.name) + '.') ? 1 : 0;
    }
    QCOMPARE(row.meta->propertyCount() - row.meta->propertyOffset(), properties);
}

void tst_ScreenClasses::properties()
{
    const auto &row = currentRow(propertyTable);
    const QByteArray name = row.name;
    const QScopedPointer<QObject> object(screenClass(name.left(name.indexOf('.'))).create());
    const QMetaObject &meta = *object->metaObject();
    const QMetaProperty property = meta.property(meta.indexOfProperty(row.property));
    QVERIFY(property.isReadable() && property.isScriptable() && !property.isConstant());
    QCOMPARE(property.isWritable(), row.isWritable);
    const QByteArray type = QByteArray(property.typeName()).replace("HNIPCRequest::", "");
    QCOMPARE(type, QByteArray(row.type));

    // In JavaScript, an enumeration that the meta-object does not know is undefined.
    const bool isEnumeration = type == "Outcome" || type == "Reason";
    QCOMPARE(property.isEnumType(), isEnumeration);
    bool isNumber = false;
    QVERIFY(!isEnumeration || property.read(object.data()).toInt(&isNumber) == 0);
    QVERIFY(!isEnumeration || isNumber);

    // Without this signal, a binding is evaluated only once.
    QVERIFY(property.hasNotifySignal());
    QCOMPARE(signatureOf(property.notifySignal()),
             signatureOf(signalOfHandler(*object, row.handler)));
}

void tst_ScreenClasses::enumerations()
{
    const auto &row = currentRow(enumerationTable);
    const QMetaObject &meta = HNIPCRequest::staticMetaObject;
    const QMetaEnum enumerator = meta.enumerator(meta.indexOfEnumerator(row.name));
    const QList<QByteArray> keys = QByteArray(row.keys).split(' ');
    QCOMPARE(enumerator.keyCount(), int(keys.size()));
    for (int value = 0; value < keys.size(); ++value) {
        QCOMPARE(enumerator.keyToValue(keys.at(value)), value);
    }
}

// A handler receives the parameters under their names if QMetaType can copy them.
void tst_ScreenClasses::handlers()
{
    const auto &row = currentRow(handlerTable);
    const QScopedPointer<QObject> object(screenClass(row.className).create());
    const QMetaMethod signal = signalOfHandler(*object, row.name);
    const QList<QByteArray> types = signal.parameterTypes();
    const QList<QByteArray> names = signal.parameterNames();
    QVERIFY(!signatureOf(signal).isEmpty());
    QList<QByteArray> found;
    for (int i = 0; i < types.size(); ++i) {
        found.append(types.at(i) + ' ' + names.at(i));
        QVERIFY(variantOf(types.at(i), nullptr).isValid());
    }
    QCOMPARE(joined(found, ","), QByteArray(row.parameters));
}

// Therefore the guide uses received().
void tst_ScreenClasses::capitalSignalsHaveNoHandlers()
{
    const HNIPCEvents events;
    QCOMPARE(signatureOf(signalOfHandler(events, "onPrintButton")), QByteArray());
    QVERIFY(events.metaObject()->indexOfSignal("PrintButton()") >= 0);
}

// ---- How a screen uses them ----------------------------------------------------------------

void tst_ScreenClasses::command()
{
    m4().answer("forwardFeed", "(true,)");
    Script feed("HNIPCRequest");
    QVERIFY(feed.write("method", "forwardFeed"));
    QVERIFY(feed.write("parameters", array(400.0)));
    QVERIFY(feed.write("deadline", 5000.0));
    QCOMPARE(feed.read("parameters").toList(), array(400.0));
    QCOMPARE(feed.texts("method deadline"), QByteArray("forwardFeed, 5000"));

    const char *const state = "pending outcome reason done value errorName errorText";
    QVERIFY(feed.send());
    QCOMPARE(feed.texts(state), QByteArray("true, NoOutcome, NoReason, false, undefined, , "));
    QVERIFY(feed.waitForHandler("onFinished", 1));
    QCOMPARE(feed.texts(state), QByteArray("false, Answered, NoReason, true, true, , "));
    QCOMPARE(feed.count("onStateChanged"), 2);
    QVERIFY(feed.send(array(7.0)));
    QVERIFY(feed.waitForHandler("onFinished", 2));
    const QList<WireMessage> calls = m4().calls();
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(0).line(), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 400,)"));
    QCOMPARE(calls.at(1).line(), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 7,)"));

    m4().ignore("forwardFeed");
    QVERIFY(feed.send());
    QVERIFY(waitUntil([this]() { return m4().calls().size() == 3; }));
    QVERIFY(feed.call("cancel"));
    QCOMPARE(feed.count("onFinished"), 3);
    QCOMPARE(feed.texts(state),
             QByteArray("false, Unknown, Cancelled, false, undefined, "
                        "org.hnipc.Error.Cancelled, cancelled"));
}

// A number that the method does not accept is never converted to another one.
void tst_ScreenClasses::commandThatIsRefused()
{
    m4().answer("forwardFeed", "(true,)");
    Script feed("HNIPCRequest");
    QVERIFY(feed.write("method", "forwardFeed"));
    QVERIFY(feed.write("parameters", array(-1.0)));
    QVERIFY(feed.send());
    QVERIFY(feed.waitForHandler("onFinished", 1));
    QCOMPARE(feed.texts("outcome reason done"), QByteArray("NotSent, InvalidArguments, false"));
    QVERIFY(m_daemons.passFence());
    QCOMPARE(m4().calls().size(), 0);
}

void tst_ScreenClasses::reading()
{
    const char *const state = "known current value reason";
    m4().answer("printerLid", "(false,)");
    Script lid("HNIPCReading");
    QVERIFY(lid.write("method", "printerLid"));
    QVERIFY(lid.write("signals", array("M4PrinterLid")));
    QVERIFY(lid.write("valueArgument", 0.0));
    QVERIFY(lid.write("deadline", 5000.0));
    QCOMPARE(lid.texts(state), QByteArray("false, false, undefined, NoReason"));
    QVERIFY(lid.become(state, "true, true, false, NoReason"));
    QVERIFY(lid.count("onChanged") > 0);

    m4().hold("printerLid");
    QVERIFY(m_daemons.emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(lid.become(state, "true, false, true, NoReason"));
    QVERIFY(waitUntil([this]() { return m4().held() == 1; }));
    m4().answerHeld(0, "(true,)");
    QVERIFY(lid.become(state, "true, true, true, NoReason"));

    m4().answer("printerLid", "(false,)");
    QVERIFY(lid.call("read"));
    QVERIFY(lid.become(state, "true, true, false, NoReason"));

    // Another method, with an argument.
    m4().answer("getPrinterStatus", "(7,)");
    QVERIFY(lid.write("signals", QVariantList()));
    QVERIFY(lid.write("method", "getPrinterStatus"));
    QVERIFY(lid.write("parameters", array("labelprinter")));
    QVERIFY(lid.become(state, "true, true, 7, NoReason"));
    QCOMPARE(lid.count("onArgumentsChanged"), 1);

    m4().answerError("getPrinterStatus", "org.hnipc.Error.Busy", "no");
    QVERIFY(lid.call("read"));
    QVERIFY(lid.become(state, "false, false, undefined, DaemonError"));
    QCOMPARE(lid.texts("errorName errorText"), QByteArray("org.hnipc.Error.Busy, no"));
}

void tst_ScreenClasses::readingOfAProperty()
{
    m_daemons[SUPPLYD].answer("supplyRibbon1RGBs", "(['#00aeef', '#ec008c'],)");
    Script colours("HNIPCReading");
    QVERIFY(colours.write("method", "qmlRibbonColorRGBs"));
    QVERIFY(colours.become("known", "true"));
    // A script engine sees an array of strings.
    QCOMPARE(int(colours.read("value").userType()), int(QMetaType::QStringList));
    QCOMPARE(colours.read("value").toStringList(),
             QStringList() << QLatin1String("#00aeef") << QLatin1String("#ec008c"));
}

void tst_ScreenClasses::events()
{
    Script events("HNIPCEvents");
    QVERIFY(events.become("listening", "true"));
    QCOMPARE(events.count("onListeningChanged"), 1);
    QVERIFY(m_daemons.emitSignal(M4, "M4_M4UserSetting", "(3, 120)"));
    QVERIFY(events.waitForHandler("onReceived", 1));
    QCOMPARE(events.lastEmission(),
             emission("received(QString,QVariantList)",
                      QVariantList() << "M4UserSetting" << QVariant(QVariantList() << 3 << 120)));
}

void tst_ScreenClasses::availability()
{
    const char *const state = "known ioexpd m4 supplyd";
    Script daemons("HNIPCAvailability");
    QVERIFY(daemons.become(state, "true, true, true, true"));
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons.stop(server);
    }
    QCOMPARE(daemons.texts(state), QByteArray("true, false, false, false"));
    QCOMPARE(daemons.count("onM4Changed"), 2);
    for (int server = 0; server < ServerCount; ++server) {
        const char *const states[] = { "true, true, false, false", "true, true, true, false",
                                       "true, true, true, true" };
        m_daemons.start(server);
        QCOMPARE(daemons.texts(state), QByteArray(states[server]));
    }
}

HNIPC_TEST_MAIN(tst_ScreenClasses)

#include "tst_screenclasses.moc"
