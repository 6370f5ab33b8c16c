// SPDX-License-Identifier: MIT
#include "expected/clientslots.h"
#include "expected/properties.h"
#include "handlers.h"
#include "support/process.h"
#include "support/qtmajors.h"
#include "support/signature.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QMetaEnum>
#include <QtCore/QMetaProperty>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

using namespace Expected;

namespace {

const char *const documents[] = { "Base.qml",       "OfTwoFiles.qml", "Bindings.qml",
                                  "TwoClients.qml", "Requests.qml",   "InFlight.qml",
                                  "Events.qml",     "Readings.qml",   "Calls.qml",
                                  "Screen.qml" };

QString pathOf(const char *document)
{
    return QString::fromLatin1(HNIPC_QML_TEST_DIR "/") + QString::fromLatin1(document);
}

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
const QByteArray anything = "variant";
#else
const QByteArray anything = "QVariant";
#endif

// The types of arguments and results as QML's tools know them.
QByteArray toolsType(const QByteArray &type)
{
    const QByteArray name = withoutAliases(type);
    if (name == "qulonglong") {
        return "double";
    }
    if (name == "QVariant" || name == "QVariantHash" || name == "SupplyInformation") {
        return anything;
    }
    return name;
}

// One member per line: "signal M4Gap(uint value)", "int getError()", "property double x read-only".
typedef QList<QByteArray> Members;

QByteArray member(const QByteArray &kind, const QByteArray &name, const QList<QByteArray> &types,
                  const QList<QByteArray> &names)
{
    QList<QByteArray> parameters;
    for (int i = 0; i < types.size(); ++i) {
        parameters.append(toolsType(types.at(i)) + ' ' + names.at(i));
    }
    return kind + ' ' + name + '(' + parameters.join(", ") + ')';
}

QList<QByteArray> typesOf(const QByteArray &signature)
{
    const int open = signature.indexOf('(');
    return namesOf(signature.mid(open + 1, signature.size() - open - 2));
}

// The parameter types of a handler. For a handler, a list of strings is an Array.
QList<QByteArray> handlerTypesOf(const QByteArray &signature)
{
    QList<QByteArray> types = typesOf(signature);
    for (QByteArray &type : types) {
        type.replace("QStringList", "QVariant");
    }
    return types;
}

Members metaMembers(const QMetaObject &meta)
{
    Members result;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        QByteArray type = property.typeName();
        if (property.isEnumType()) {
            const QMetaEnum metaEnum = property.enumerator();
            type = QByteArray(metaEnum.scope()) + "::" + metaEnum.name();
        }
        result.append("property " + toolsType(type) + ' ' + property.name()
                      + (property.isWritable() ? "" : " read-only"));
    }
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.access() != QMetaMethod::Private) {
            const QByteArray kind = method.methodType() == QMetaMethod::Signal
                ? QByteArray("signal")
                : toolsType(method.typeName());
            result.append(
                member(kind, method.name(), method.parameterTypes(), method.parameterNames()));
        }
    }
    return result;
}

} // namespace

// The type description of the module, for editors and qmllint.
class tst_QmlTypes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void clientIsDescribed();
    void handlersAreDescribed();
    void eventsAreDescribed();
    void readingIsDescribed();
    void descriptionIsThatOfTheClasses();
    void typesAreExported();
    void attachedMethodsAreDescribed();
    void outcomesAreDescribed();
    void documentsOfTheTestsAreClean();
    void everyMemberIsKnown();
    void everyMemberOfEventsIsKnown();
    void everyMemberOfAReadingIsKnown();
    void otherMembersAreNot();

private:
    // The warnings of qmllint. With Qt 6 it can also warn of code that its compiler would leave to
    // the interpreter.
    QByteArray lint(const QString &file, const QStringList &compiler = QStringList())
    {
        const Outcome outcome = runProgram(
            QString::fromLatin1(HNIPC_QMLLINT), QStringList {
                QString::fromLatin1("-I"), QString::fromLatin1(HNIPC_QML_BUILD_DIR),
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
                    QString::fromLatin1("-I"), QString::fromLatin1(HNIPC_QT_QML_MODULES),
                    QString::fromLatin1("--check-unqualified"),
#endif
                    file
            } + compiler);
        const QByteArray output = outcome.output + outcome.errors;
        return outcome.code == 0 ? output : "failed: " + output;
    }

    QByteArray lintText(const QByteArray &text)
    {
        const QString name = m_directory.filePath(QString::fromLatin1("Document.qml"));
        QFile file(name);
        if (!file.open(QFile::WriteOnly | QFile::Truncate) || file.write(text) != text.size()) {
            return "no file";
        }
        file.close();
        return lint(name);
    }

    Members signalsOf(const QByteArray &name) const
    {
        Members result;
        const Members all = m_members.value(name);
        for (const QByteArray &line : all) {
            if (line.startsWith("signal ")) {
                result.append(line);
            }
        }
        return result;
    }

    QTemporaryDir m_directory;
    QMap<QByteArray, QByteArray> m_components; // text by name
    QMap<QByteArray, Members> m_members;
};

void tst_QmlTypes::initTestCase()
{
    QFile file(QString::fromLatin1(HNIPC_QML_BUILD_DIR "/HNIPC/plugins.qmltypes"));
    QVERIFY(file.open(QFile::ReadOnly));
    QByteArray name;
    QByteArray kind;
    QByteArray called;
    QList<QByteArray> types;
    QList<QByteArray> names;
    const QRegularExpression quoted(QString::fromLatin1("(\\w+): \"([^\"]*)\""));
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        const QByteArray word = line.trimmed().split(' ').first();
        QMap<QByteArray, QByteArray> fields;
        QRegularExpressionMatchIterator i = quoted.globalMatch(QString::fromUtf8(line));
        while (i.hasNext()) {
            const QRegularExpressionMatch match = i.next();
            fields.insert(match.captured(1).toUtf8(), match.captured(2).toUtf8());
        }
        if (word == "Component") {
            name.clear();
        } else if (word == "name:" && name.isEmpty()) {
            name = fields.value("name");
        } else if (word == "Property") {
            m_members[name].append("property " + fields.value("type") + ' ' + fields.value("name")
                                   + (line.contains("isReadonly: true") ? " read-only" : ""));
        } else if (word == "Signal" || word == "Method") {
            kind = word == "Signal" ? "signal" : "void";
            called.clear();
            types.clear();
            names.clear();
        } else if (word == "name:") {
            called = fields.value("name");
        } else if (word == "type:") {
            kind = fields.value("type");
        } else if (word == "Parameter") {
            types.append(fields.value("type"));
            names.append(fields.value("name"));
        } else if (word == "}" && !kind.isEmpty()) {
            m_members[name].append(member(kind, called, types, names));
            kind.clear();
        }
        m_components[name] += line;
    }
}

void tst_QmlTypes::clientIsDescribed()
{
    Members expected;
    for (const ClientProperty &property : clientProperties) {
        expected.append(QByteArray("property ") + property.type + ' ' + property.name
                        + " read-only");
    }
    for (const ClientSignal &signal : clientSignals) {
        expected.append(member("signal", nameOf(signal.signature), typesOf(signal.signature),
                               namesOf(signal.parameters)));
    }
    for (const ClientSlot &slot : clientSlots) {
        const QByteArray result = slot.result;
        expected.append(member(result.isEmpty() ? QByteArray("void") : toolsType(result),
                               nameOf(slot.signature), typesOf(slot.signature),
                               namesOf(slot.parameters)));
    }
    QCOMPARE(m_members.value("HNIPC"), expected);
}

void tst_QmlTypes::handlersAreDescribed()
{
    Members expected;
    for (const ClientSignal &signal : clientSignals) {
        expected.append(member("signal", twinOf(signal), handlerTypesOf(signal.signature),
                               namesOf(signal.parameters)));
    }
    QCOMPARE(signalsOf("HNIPCInQml"), expected);
    QVERIFY(m_components.value("HNIPC").contains("prototype: \"HNIPCInQml\""));
}

void tst_QmlTypes::eventsAreDescribed()
{
    Members expected;
    Members handlers;
    for (const ClientSignal &signal : clientSignals) {
        if (signal.server != NoServer) {
            expected.append(member("signal", nameOf(signal.signature), typesOf(signal.signature),
                                   namesOf(signal.parameters)));
            handlers.append(member("signal", eventTwinOf(signal), handlerTypesOf(signal.signature),
                                   namesOf(signal.parameters)));
        }
    }
    expected.prepend("property bool listening read-only");
    expected.append("signal received(QString name, QVariantList values)");
    expected.append("signal listeningChanged(bool listening)");
    QCOMPARE(m_members.value("HNIPCEvents"), expected);
    QCOMPARE(signalsOf("HNIPCEventsInQml"), handlers);
    QVERIFY(m_components.value("HNIPCEvents").contains("prototype: \"HNIPCEventsInQml\""));
}

void tst_QmlTypes::readingIsDescribed()
{
    const Members expected = {
        "property QString method",
        "property QVariantList parameters",
        "property QStringList signals",
        "property int valueArgument",
        "property int deadline",
        "property bool known read-only",
        "property bool current read-only",
        "property " + anything + " value read-only",
        "property HNIPCRequest::Reason reason read-only",
        "property QString errorName read-only",
        "property QString errorText read-only",
        "signal methodChanged()",
        "signal argumentsChanged()",
        "signal signalNamesChanged()",
        "signal valueArgumentChanged()",
        "signal deadlineChanged()",
        "signal changed()",
        "void read()",
    };
    QCOMPARE(m_members.value("HNIPCReading"), expected);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QVERIFY(m_components.value("HNIPCRequest").contains("prototype: \"CallInQml\""));
    QVERIFY(m_components.value("CallInQml").contains("prototype: \"ValueInQml\""));
#else
    QVERIFY(m_components.value("HNIPCRequest").contains("prototype: \"ValueInQml\""));
#endif
    QVERIFY(m_components.value("HNIPCReading").contains("prototype: \"ValueInQml\""));
    for (const QByteArray name : { "HNIPCRequest", "HNIPCReading" }) {
        QVERIFY(m_members.value(name).contains("property " + anything + " value read-only"));
    }
    QVERIFY(m_members.value("HNIPCRequest").contains("property bool done read-only"));
    QVERIFY(
        m_members.value("HNIPCRequest").contains("property HNIPCRequest::Reason reason read-only"));
}

void tst_QmlTypes::descriptionIsThatOfTheClasses()
{
    QCOMPARE(m_members.value("HNIPC"), metaMembers(HNIPC::staticMetaObject));
    QCOMPARE(m_members.value("HNIPCRequest"), metaMembers(HNIPCRequest::staticMetaObject));
    QCOMPARE(m_members.value("HNIPCAvailability"),
             metaMembers(HNIPCAvailability::staticMetaObject));
    QCOMPARE(m_members.value("HNIPCEvents"), metaMembers(HNIPCEvents::staticMetaObject));
    QCOMPARE(m_members.value("HNIPCReading"), metaMembers(HNIPCReading::staticMetaObject));
}

void tst_QmlTypes::typesAreExported()
{
    for (const QByteArray name :
         { "HNIPC", "HNIPCEvents", "HNIPCRequest", "HNIPCReading", "HNIPCAvailability" }) {
        QVERIFY2(m_components.value(name).contains("exports: [\"HNIPC/" + name + " 1.0\"]"),
                 name.constData());
    }
    for (const QByteArray name :
         { "HNIPCInQml", "HNIPCEventsInQml", "ValueInQml", "HandlersInQml", "CallInQml" }) {
        QVERIFY(m_components.contains(name));
        QCOMPARE(int(m_components.value(name).count("exports")), 0);
    }
}

void tst_QmlTypes::attachedMethodsAreDescribed()
{
    QCOMPARE(m_members.value("HandlersInQml"), Members { "QObject handlersOf(QObject client)" });
    QVERIFY(m_components.value("HandlersInQml").contains("type: \"QObject\"; isPointer: true"));
    QVERIFY(m_members.value("CallInQml")
                .contains("void call(QString method, QJSValue parameters, QJSValue callback)"));
    for (const QByteArray name : { "HNIPC", "HNIPCEvents" }) {
        QVERIFY(m_components.value(name).contains("attachedType: \"HandlersInQml\""));
    }
    QVERIFY(m_components.value("HNIPCRequest").contains("attachedType: \"CallInQml\""));
    QVERIFY(!m_components.value("HNIPCInQml").contains("isRelayed"));
    QVERIFY(!m_components.value("HNIPCEventsInQml").contains("isRelayed"));
}

void tst_QmlTypes::outcomesAreDescribed()
{
    QVERIFY(m_components.value("HNIPCRequest")
                .contains("Enum { name: \"Outcome\"; values: { \"NoOutcome\": 0, \"NotSent\": 1, "
                          "\"Answered\": 2, "
                          "\"Refused\": 3, \"Unknown\": 4 } }"));
    QVERIFY(m_components.value("HNIPCRequest")
                .contains("Enum { name: \"Reason\"; values: { \"NoReason\": 0, \"DaemonError\": 1, "
                          "\"UnknownMethod\": 2, \"InvalidArguments\": 3, \"DaemonAbsent\": 4, "
                          "\"AccessDenied\": 5, \"BusError\": 6, \"BusLost\": 7, \"TimedOut\": 8, "
                          "\"Cancelled\": 9, \"DaemonLeft\": 10, \"WrongType\": 11 } }"));
}

void tst_QmlTypes::documentsOfTheTestsAreClean()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    const QStringList compiler;
#else
    const QStringList compiler = { QString::fromLatin1("--compiler"),
                                   QString::fromLatin1("warning") };
#endif
    for (const char *document : documents) {
        QCOMPARE(lint(pathOf(document), compiler), QByteArray());
    }
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0) // the linter of Qt 5 does not know inline components
    QCOMPARE(lint(QString::fromLatin1(HNIPC_QML_EXAMPLE)), QByteArray());
#endif
}

void tst_QmlTypes::everyMemberIsKnown()
{
    QByteArray text = "import QtQml 2.15\nimport HNIPC 1.0\n\nHNIPC {\n    id: printer\n\n"
                      "    property QtObject connections: Connections {\n"
                      "        target: printer\n\n";
    for (const ClientSignal &signal : clientSignals) {
        text += "        function " + handlerOf(signal) + "(" + signal.parameters + ") {}\n";
    }
    text += "    }\n\n";
    for (const ClientSignal &signal : clientSignals) {
        text += "    " + handlerOf(signal) + ": function(" + signal.parameters + ") {}\n";
    }
    // One function each, because qmllint stops at the first name that it does not know.
    int functions = 0;
    const auto use = [&](const QByteArray &parameters, const QByteArray &expression) {
        text += "\n    function use" + QByteArray::number(++functions) + '(' + parameters
            + ") {\n        return printer." + expression + ";\n    }\n";
    };
    for (const ClientSignal &signal : clientSignals) {
        use("f", nameOf(signal.signature) + ".connect(f)");
    }
    for (const ClientSlot &slot : clientSlots) {
        use(slot.parameters, nameOf(slot.signature) + '(' + slot.parameters + ')');
    }
    for (const ClientProperty &property : clientProperties) {
        use("", property.name);
    }
    QCOMPARE(functions, clientSignalCount + clientSlotCount + clientPropertyCount);
    text += "}\n";
    QCOMPARE(lintText(text), QByteArray());
}

void tst_QmlTypes::everyMemberOfEventsIsKnown()
{
    QByteArray text = "import QtQml 2.15\nimport HNIPC 1.0\n\nHNIPCEvents {\n    id: events\n\n"
                      "    readonly property bool isListening: events.listening\n"
                      "    property QtObject connections: Connections {\n"
                      "        target: events\n\n"
                      "        function onReceived(name, values) {}\n"
                      "        function onListeningChanged(listening) {}\n";
    QByteArray handlers = "    onReceived: function(name, values) {}\n"
                          "    onListeningChanged: function(listening) {}\n";
    QByteArray functions;
    int count = 0;
    for (const ClientSignal &signal : clientSignals) {
        if (signal.server != NoServer) {
            const QByteArray handler = eventHandlerOf(signal);
            text += "        function " + handler + "(" + signal.parameters + ") {}\n";
            handlers += "    " + handler + ": function(" + signal.parameters + ") {}\n";
            functions += "\n    function use" + QByteArray::number(++count)
                + "(f) {\n        return events." + nameOf(signal.signature)
                + ".connect(f);\n    }\n";
        }
    }
    QCOMPARE(lintText(text + "    }\n\n" + handlers + functions + "}\n"), QByteArray());
}

void tst_QmlTypes::everyMemberOfAReadingIsKnown()
{
    QByteArray text = "import QtQml 2.15\nimport HNIPC 1.0\n\nHNIPCReading {\n    id: reading\n\n"
                      "    method: \"supplyColorName\"\n    parameters: [\"a\", 1]\n"
                      "    signals: [\"Error\", \"Alert\"]\n    valueArgument: 0\n"
                      "    deadline: 500\n    onChanged: reading.read()\n";
    int functions = 0;
    for (const char *property :
         { "method", "parameters", "signals", "valueArgument", "deadline", "known", "current",
           "value", "errorName", "errorText", "reason === HNIPCRequest.TimedOut" }) {
        text += "\n    function use" + QByteArray::number(++functions)
            + "() {\n        return reading." + property + ";\n    }\n";
    }
    QCOMPARE(lintText(text + "}\n"), QByteArray());
}

void tst_QmlTypes::otherMembersAreNot()
{
    const QList<QList<QByteArray>> classes = {
        { "HNIPC", "getErrors", "M4PrinterLids", "qmlErrorCode" },
        { "HNIPCEvents", "getError", "M4PrinterLids", "listen", "StatusChanged" },
        { "HNIPCReading", "arguments", "signalNames", "send", "isKnown" },
        { "HNIPCRequest", "arguments", "qmlValue", "isDone" },
    };
    for (const QList<QByteArray> &row : classes) {
        const QByteArray head = "import HNIPC 1.0\n\n" + row.first() + " {\n    id: object\n\n    ";
        for (int i = 1; i < row.size(); ++i) {
            const QByteArray said = lintText(head + "function use() {\n        return object."
                                             + row.at(i) + ";\n    }\n}\n");
            QVERIFY2(said.contains(row.at(i)), (row.first() + ": " + said).constData());
        }
        const QByteArray said = lintText(head + "onM4PrinterLids: function(value) {}\n}\n");
        QVERIFY2(said.contains("onM4PrinterLids"), (row.first() + ": " + said).constData());
    }
}

QTEST_GUILESS_MAIN(tst_QmlTypes)

#include "tst_qmltypes.moc"
