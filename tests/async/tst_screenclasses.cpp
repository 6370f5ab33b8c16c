// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/signalrecorder.h"
#include "support/signature.h"
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

// The value of Class.Key.
int enumeration(const char *className, const char *key)
{
    const QMetaObject &meta = *screenClass(className).meta;
    for (int i = 0; i < meta.enumeratorCount(); ++i) {
        const int value = meta.enumerator(i).keyToValue(key);
        if (value != -1) {
            return value;
        }
    }
    return -1;
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

    QObject *object() { return m_object.data(); }

    bool write(const char *name, const QVariant &value)
    {
        return property(name).write(m_object.data(), value);
    }

    QVariant read(const char *name) const { return property(name).read(m_object.data()); }

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
    QByteArray lastEmission() const
    {
        const QList<QByteArray> emissions = m_recorder.emissions();
        return emissions.isEmpty() ? QByteArray() : emissions.last();
    }

    bool send()
    {
        bool result = false;
        return QMetaObject::invokeMethod(m_object.data(), "send", Q_RETURN_ARG(bool, result))
            && result;
    }

    // Calls send([first]).
    bool sendWith(const QVariant &first)
    {
        bool result = false;
        return QMetaObject::invokeMethod(m_object.data(), "send", Q_RETURN_ARG(bool, result),
                                         Q_ARG(QVariantList, QVariantList() << first))
            && result;
    }

    bool call(const char *name) { return QMetaObject::invokeMethod(m_object.data(), name); }

private:
    QMetaProperty property(const char *name) const
    {
        const QMetaObject &meta = *m_object->metaObject();
        return meta.property(meta.indexOfProperty(name));
    }

    QScopedPointer<QObject> m_object;
    SignalRecorder m_recorder;
};

// A number in JavaScript.
QVariant number(double value) { return value; }

QVariantList array(const QVariant &first) { return QVariantList() << first; }

void addClasses()
{
    QTest::addColumn<QByteArray>("name");
    for (const ScreenClass &each : screenClasses) {
        QTest::newRow(each.name) << QByteArray(each.name);
    }
}

} // namespace

// The meta-objects of the classes, which are all that an application with QtDeclarative uses after
// it has registered the classes.
class tst_ScreenClasses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void canBeRegistered_data();
    void canBeRegistered();
    void properties_data();
    void properties();
    void noOtherProperties_data();
    void noOtherProperties();
    void enumerations_data();
    void enumerations();
    void handlers_data();
    void handlers();
    void capitalSignalsHaveNoHandlers();

    void command();
    void commandThatIsRefused();
    void commandThatIsCancelled();
    void reading();
    void readingOfAProperty();
    void events();
    void availability();

private:
    WirePeer &m4() { return (*m_daemons)[M4]; }

    QScopedPointer<AsyncDaemons> m_daemons;
};

void tst_ScreenClasses::initTestCase() { m_daemons.reset(new AsyncDaemons); }

void tst_ScreenClasses::cleanupTestCase() { m_daemons.reset(); }

void tst_ScreenClasses::init()
{
    m4().clearAnswers();
    m_daemons->takeCalls();
}

// ---- The meta-objects ----------------------------------------------------------------------

void tst_ScreenClasses::canBeRegistered_data() { addClasses(); }

void tst_ScreenClasses::canBeRegistered()
{
    QFETCH(QByteArray, name);
    const QScopedPointer<QObject> object(screenClass(name).create());
    QCOMPARE(object->metaObject(), screenClass(name).meta);
    QCOMPARE(QByteArray(object->metaObject()->className()), name);
    QVERIFY(!object->parent());
}

void tst_ScreenClasses::properties_data()
{
    QTest::addColumn<QByteArray>("className");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("isWritable");
    QTest::addColumn<QByteArray>("handler");
    const struct
    {
        const char *className;
        const char *name;
        const char *type; // the type in a script engine
        bool isWritable;
        const char *handler;
    } rows[] = {
        { "HNIPCRequest", "method", "QString", true, "onMethodChanged" },
        { "HNIPCRequest", "parameters", "QVariantList", true, "onArgumentsChanged" },
        { "HNIPCRequest", "deadline", "int", true, "onDeadlineChanged" },
        { "HNIPCRequest", "pending", "bool", false, "onStateChanged" },
        { "HNIPCRequest", "outcome", "enumeration", false, "onStateChanged" },
        { "HNIPCRequest", "reason", "enumeration", false, "onStateChanged" },
        { "HNIPCRequest", "done", "bool", false, "onStateChanged" },
        { "HNIPCRequest", "value", "QVariant", false, "onStateChanged" },
        { "HNIPCRequest", "errorName", "QString", false, "onStateChanged" },
        { "HNIPCRequest", "errorText", "QString", false, "onStateChanged" },
        { "HNIPCRequest", "elapsed", "int", false, "onStateChanged" },
        { "HNIPCReading", "method", "QString", true, "onMethodChanged" },
        { "HNIPCReading", "parameters", "QVariantList", true, "onArgumentsChanged" },
        { "HNIPCReading", "signals", "QStringList", true, "onSignalNamesChanged" },
        { "HNIPCReading", "valueArgument", "int", true, "onValueArgumentChanged" },
        { "HNIPCReading", "deadline", "int", true, "onDeadlineChanged" },
        { "HNIPCReading", "known", "bool", false, "onChanged" },
        { "HNIPCReading", "current", "bool", false, "onChanged" },
        { "HNIPCReading", "value", "QVariant", false, "onChanged" },
        { "HNIPCReading", "reason", "enumeration", false, "onChanged" },
        { "HNIPCReading", "errorName", "QString", false, "onChanged" },
        { "HNIPCReading", "errorText", "QString", false, "onChanged" },
        { "HNIPCEvents", "listening", "bool", false, "onListeningChanged" },
        { "HNIPCAvailability", "known", "bool", false, "onKnownChanged" },
        { "HNIPCAvailability", "ioexpd", "bool", false, "onIoexpdChanged" },
        { "HNIPCAvailability", "m4", "bool", false, "onM4Changed" },
        { "HNIPCAvailability", "supplyd", "bool", false, "onSupplydChanged" },
    };
    for (const auto &row : rows) {
        QTest::newRow(QByteArray(row.className) + '.' + row.name)
            << QByteArray(row.className) << QByteArray(row.type) << row.isWritable
            << QByteArray(row.handler);
    }
}

void tst_ScreenClasses::properties()
{
    QFETCH(QByteArray, className);
    QFETCH(QByteArray, type);
    QFETCH(bool, isWritable);
    QFETCH(QByteArray, handler);
    const QByteArray tag = QTest::currentDataTag();
    const QByteArray name = tag.mid(tag.indexOf('.') + 1);
    const QScopedPointer<QObject> object(screenClass(className).create());
    const QMetaObject &meta = *object->metaObject();
    const QMetaProperty property = meta.property(meta.indexOfProperty(name));
    QVERIFY(property.isReadable());
    QVERIFY(property.isScriptable());
    QCOMPARE(property.isWritable(), isWritable);
    QVERIFY(!property.isConstant());

    // In JavaScript, an enumeration that the meta-object does not know is undefined.
    if (type == "enumeration") {
        QVERIFY(property.isEnumType());
        bool isNumber = false;
        QCOMPARE(property.read(object.data()).toInt(&isNumber), 0);
        QVERIFY(isNumber);
    } else {
        QCOMPARE(QByteArray(property.typeName()), type);
    }

    // Without this signal, a binding is evaluated only once.
    QVERIFY(property.hasNotifySignal());
    QCOMPARE(signatureOf(property.notifySignal()), signatureOf(signalOfHandler(*object, handler)));
}

void tst_ScreenClasses::noOtherProperties_data() { addClasses(); }

// The table above contains every property.
void tst_ScreenClasses::noOtherProperties()
{
    QFETCH(QByteArray, name);
    const QMetaObject &meta = *screenClass(name).meta;
    const int expected = name == "HNIPCEvents" ? 1 : name == "HNIPCAvailability" ? 4 : 11;
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), expected);
}

void tst_ScreenClasses::enumerations_data()
{
    QTest::addColumn<int>("value");
    QTest::newRow("NoOutcome") << 0;
    QTest::newRow("NotSent") << 1;
    QTest::newRow("Answered") << 2;
    QTest::newRow("Refused") << 3;
    QTest::newRow("Unknown") << 4;
    QTest::newRow("NoReason") << 0;
    QTest::newRow("DaemonError") << 1;
    QTest::newRow("UnknownMethod") << 2;
    QTest::newRow("InvalidArguments") << 3;
    QTest::newRow("DaemonAbsent") << 4;
    QTest::newRow("AccessDenied") << 5;
    QTest::newRow("BusError") << 6;
    QTest::newRow("BusLost") << 7;
    QTest::newRow("TimedOut") << 8;
    QTest::newRow("Cancelled") << 9;
    QTest::newRow("DaemonLeft") << 10;
    QTest::newRow("WrongType") << 11;
}

void tst_ScreenClasses::enumerations()
{
    QFETCH(int, value);
    QCOMPARE(enumeration("HNIPCRequest", QTest::currentDataTag()), value);
}

void tst_ScreenClasses::handlers_data()
{
    QTest::addColumn<QByteArray>("className");
    QTest::addColumn<QByteArray>("handler");
    QTest::addColumn<QByteArray>("parameters");
    QTest::newRow("finished") << QByteArray("HNIPCRequest") << QByteArray("onFinished")
                              << QByteArray();
    QTest::newRow("changed") << QByteArray("HNIPCReading") << QByteArray("onChanged")
                             << QByteArray();
    QTest::newRow("received") << QByteArray("HNIPCEvents") << QByteArray("onReceived")
                              << QByteArray("QString name,QVariantList values");
    QTest::newRow("listeningChanged")
        << QByteArray("HNIPCEvents") << QByteArray("onListeningChanged")
        << QByteArray("bool listening");
    QTest::newRow("m4Changed") << QByteArray("HNIPCAvailability") << QByteArray("onM4Changed")
                               << QByteArray("bool available");
}

// A handler receives the parameters under their names if QMetaType can copy them.
void tst_ScreenClasses::handlers()
{
    QFETCH(QByteArray, className);
    QFETCH(QByteArray, handler);
    QFETCH(QByteArray, parameters);
    const QScopedPointer<QObject> object(screenClass(className).create());
    const QMetaMethod signal = signalOfHandler(*object, handler);
    const QList<QByteArray> types = signal.parameterTypes();
    const QList<QByteArray> names = signal.parameterNames();
    QVERIFY(!signatureOf(signal).isEmpty());
    QList<QByteArray> found;
    for (int i = 0; i < types.size(); ++i) {
        found.append(types.at(i) + ' ' + names.at(i));
        QVERIFY(variantOf(types.at(i), nullptr).isValid());
    }
    QCOMPARE(joined(found, ","), parameters);
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
    QVERIFY(feed.write("method", QString::fromLatin1("forwardFeed")));
    QVERIFY(feed.write("parameters", array(number(400))));
    QVERIFY(feed.write("deadline", number(5000)));
    QCOMPARE(feed.count("onMethodChanged"), 1);
    QCOMPARE(feed.count("onArgumentsChanged"), 1);
    QCOMPARE(feed.count("onDeadlineChanged"), 1);
    QCOMPARE(feed.read("parameters").toList(), array(number(400)));

    QVERIFY(feed.send());
    QCOMPARE(feed.read("pending").toBool(), true);
    QVERIFY(feed.waitForHandler("onFinished", 1));
    QCOMPARE(feed.count("onStateChanged"), 2);
    QCOMPARE(feed.read("pending").toBool(), false);
    QCOMPARE(feed.read("outcome").toInt(), enumeration("HNIPCRequest", "Answered"));
    QCOMPARE(feed.read("reason").toInt(), enumeration("HNIPCRequest", "NoReason"));
    QCOMPARE(feed.read("done").toBool(), true);
    QCOMPARE(feed.read("value"), QVariant(true));
    QCOMPARE(feed.read("errorText"), QVariant(QString()));
    const QList<WireMessage> calls = m4().calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().line(), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 400,)"));

    QVERIFY(feed.sendWith(number(7)));
    QVERIFY(feed.waitForHandler("onFinished", 2));
    QCOMPARE(m4().calls().size(), 2);
    QCOMPARE(m4().calls().last().line(), QByteArray("/ local.IHNIPCM4.forwardFeed u (uint32 7,)"));
}

// A number that the method does not accept is never converted to another one.
void tst_ScreenClasses::commandThatIsRefused()
{
    m4().answer("forwardFeed", "(true,)");
    Script feed("HNIPCRequest");
    QVERIFY(feed.write("method", QString::fromLatin1("forwardFeed")));
    QVERIFY(feed.write("parameters", array(number(-1))));
    QVERIFY(feed.send());
    QVERIFY(feed.waitForHandler("onFinished", 1));
    QCOMPARE(feed.read("outcome").toInt(), enumeration("HNIPCRequest", "NotSent"));
    QCOMPARE(feed.read("reason").toInt(), enumeration("HNIPCRequest", "InvalidArguments"));
    QCOMPARE(feed.read("done").toBool(), false);
    QVERIFY(!feed.read("errorText").toString().isEmpty());
    QVERIFY(m_daemons->passFence());
    QCOMPARE(m4().calls().size(), 0);
}

void tst_ScreenClasses::commandThatIsCancelled()
{
    m4().ignore("forwardFeed");
    Script feed("HNIPCRequest");
    QVERIFY(feed.write("method", QString::fromLatin1("forwardFeed")));
    QVERIFY(feed.write("parameters", array(number(400))));
    QVERIFY(feed.send());
    QVERIFY(waitUntil([this]() { return m4().calls().size() == 1; }));
    QVERIFY(feed.call("cancel"));
    QCOMPARE(feed.count("onFinished"), 1);
    QCOMPARE(feed.read("outcome").toInt(), enumeration("HNIPCRequest", "Unknown"));
    QCOMPARE(feed.read("reason").toInt(), enumeration("HNIPCRequest", "Cancelled"));
}

void tst_ScreenClasses::reading()
{
    m4().answer("printerLid", "(false,)");
    Script lid("HNIPCReading");
    QVERIFY(lid.write("method", QString::fromLatin1("printerLid")));
    QVERIFY(lid.write("signals", array(QString::fromLatin1("M4PrinterLid"))));
    QVERIFY(lid.write("valueArgument", number(0)));
    QVERIFY(lid.write("deadline", number(5000)));
    QCOMPARE(lid.read("known").toBool(), false);
    QCOMPARE(lid.read("value"), QVariant());
    QVERIFY(waitUntil([&lid]() { return lid.read("current").toBool(); }));
    QVERIFY(lid.count("onChanged") > 0);
    QCOMPARE(lid.read("known").toBool(), true);
    QCOMPARE(lid.read("value"), QVariant(false));
    QCOMPARE(lid.read("reason").toInt(), enumeration("HNIPCRequest", "NoReason"));

    m4().hold("printerLid");
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4PrinterLid", "(true,)"));
    QVERIFY(waitUntil([&lid]() { return lid.read("value") == QVariant(true); }));
    QCOMPARE(lid.read("current").toBool(), false);
    QVERIFY(waitUntil([this]() { return m4().held() == 1; }));
    m4().answerHeld(0, "(true,)");
    QVERIFY(waitUntil([&lid]() { return lid.read("current").toBool(); }));

    m4().answer("printerLid", "(false,)");
    QVERIFY(lid.call("read"));
    QVERIFY(waitUntil([&lid]() { return lid.read("value") == QVariant(false); }));

    // Another method, with an argument.
    m4().answer("getPrinterStatus", "(int32 7,)");
    QVERIFY(lid.write("signals", QVariantList()));
    QVERIFY(lid.write("method", QString::fromLatin1("getPrinterStatus")));
    QVERIFY(lid.write("parameters", array(QString::fromLatin1("labelprinter"))));
    QVERIFY(waitUntil([&lid]() { return lid.read("value") == QVariant(7); }));
    QCOMPARE(lid.count("onArgumentsChanged"), 1);

    m_daemons->stop(M4);
    QVERIFY(waitUntil([&lid]() { return !lid.read("known").toBool(); }));
    QCOMPARE(lid.read("value"), QVariant());
    QCOMPARE(lid.read("reason").toInt(), enumeration("HNIPCRequest", "DaemonAbsent"));
    m_daemons->start(M4);
}

void tst_ScreenClasses::readingOfAProperty()
{
    (*m_daemons)[SUPPLYD].answer("supplyRibbon1RGBs", "(['#00aeef', '#ec008c'],)");
    Script colours("HNIPCReading");
    QVERIFY(colours.write("method", QString::fromLatin1("qmlRibbonColorRGBs")));
    QVERIFY(waitUntil([&colours]() { return colours.read("known").toBool(); }));
    // A script engine sees an array of strings.
    QCOMPARE(int(colours.read("value").userType()), int(QMetaType::QStringList));
    QCOMPARE(colours.read("value").toStringList(),
             QStringList() << QLatin1String("#00aeef") << QLatin1String("#ec008c"));
}

void tst_ScreenClasses::events()
{
    Script events("HNIPCEvents");
    QVERIFY(waitUntil([&events]() { return events.read("listening").toBool(); }));
    QCOMPARE(events.count("onListeningChanged"), 1);
    QVERIFY(m_daemons->emitSignal(M4, "M4_M4UserSetting", "(3, 120)"));
    QVERIFY(events.waitForHandler("onReceived", 1));
    const QVariantList values = QVariantList() << 3 << 120;
    QCOMPARE(events.lastEmission(),
             emission("received(QString,QVariantList)",
                      QVariantList() << QString::fromLatin1("M4UserSetting") << QVariant(values)));
}

void tst_ScreenClasses::availability()
{
    Script daemons("HNIPCAvailability");
    QVERIFY(daemons.waitForHandler("onKnownChanged", 1));
    QCOMPARE(daemons.read("known").toBool(), true);
    QCOMPARE(daemons.read("ioexpd").toBool(), true);
    QCOMPARE(daemons.read("m4").toBool(), true);
    QCOMPARE(daemons.read("supplyd").toBool(), true);
    m_daemons->stop(M4);
    QCOMPARE(daemons.read("m4").toBool(), false);
    QCOMPARE(daemons.count("onM4Changed"), 2);
    m_daemons->start(M4);
    QCOMPARE(daemons.read("m4").toBool(), true);
}

HNIPC_TEST_MAIN(tst_ScreenClasses)

#include "tst_screenclasses.moc"
