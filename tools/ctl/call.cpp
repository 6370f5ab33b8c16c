// SPDX-License-Identifier: MIT
#include "console.h"
#include "names.h"
#include "outputfile.h"
#include "request.h"
#include "values.h"

#include <QtCore/QMetaObject>

#include <vector>

namespace {

bool takes(const Method &method, int count)
{
    return count >= method.required && count <= method.parameters.size();
}

// Converts the arguments. Returns false and sets @p error if one is not of its type.
bool parse(const Method &method, const QStringList &texts, QVariantList *values, QString *error)
{
    values->clear();
    for (int i = 0; i < texts.size(); ++i) {
        const Parameter &parameter = method.parameters.at(i);
        const ArgumentType *type = argumentType(parameter.type);
        *values += parsed(texts.at(i), *type);
        if (!values->last().isValid()) {
            *error = wrongArgument(i, parameter.name, texts.at(i), type);
            return false;
        }
    }
    return true;
}

QString countText(int count)
{
    return count == 1 ? QStringLiteral("1 argument") : QStringLiteral("%1 arguments").arg(count);
}

} // namespace

int chooseMethod(const Contract &contract, const QString &wanted, const QStringList &texts,
                 const Method **method, QVariantList *values, QString *message)
{
    QString normalized = QString::fromLatin1(
        QMetaObject::normalizedSignature(wanted.toLatin1().constData()));
    std::vector<const Method *> overloads;
    for (const Method &candidate : contract.methods()) {
        if (candidate.name == wanted || candidate.signature() == normalized) {
            overloads.push_back(&candidate);
        }
    }
    if (overloads.empty()) {
        const QString name = wanted.section(QLatin1Char('('), 0, 0);
        *message = wanted == name ? noSuch("method", name, contract.methodNames(), contract)
                                  : QStringLiteral("no method %1%2")
                                        .arg(wanted, didYouMean(name, contract.methodNames()));
        return Toolkit::NoSuchName;
    }

    QString error;
    for (const Method *candidate : overloads) {
        if (takes(*candidate, texts.size()) && parse(*candidate, texts, values, &error)) {
            *method = candidate;
            return Toolkit::Done;
        }
    }
    if (!error.isEmpty()) {
        *message = error;
        return Toolkit::BadValue;
    }
    *message = QStringLiteral("%1 given to %2")
                   .arg(countText(int(texts.size())), overloads.front()->declaration());
    return Toolkit::WrongUsage;
}

namespace {

// Writes the byte array to the file. An empty one is an error: the daemon has no picture of an unknown
// supply, for example. Returns the error; null on success.
QString save(const QByteArray &bytes, OutputFile *file)
{
    if (bytes.isEmpty()) {
        return QStringLiteral("the reply is empty; %1 was not written")
            .arg(file->isStandardOutput() ? QStringLiteral("standard output") : file->fileName());
    }
    if (file->isStandardOutput()) {
        Console::write(bytes);
        return QString();
    }
    return file->create() && file->write(bytes) == bytes.size()
        ? QString()
        : file->fileName() + QLatin1String(": ") + file->errorString();
}

// The outcome in words, for --deadline.
QString wordsOf(HNIPCRequest::Outcome outcome)
{
    return outcome == HNIPCRequest::Answered ? QStringLiteral("answered")
        : outcome == HNIPCRequest::Refused   ? QStringLiteral("refused")
        : outcome == HNIPCRequest::NotSent   ? QStringLiteral("not sent")
                                             : QStringLiteral("outcome unknown");
}

QStringList linesOf(const Method &method, const QVariant &value, const QString &words)
{
    QStringList lines = method.resultType.isEmpty() ? QStringList() : linesOf(value);
    if (lines.size() == 1 && !words.isEmpty()) {
        lines.first().prepend(words + QLatin1String(": "));
    } else if (!words.isEmpty()) {
        lines.prepend(words);
    }
    return lines;
}

int check(const Context &context, const QStringList &arguments)
{
    const Method *method = nullptr;
    QVariantList values;
    QString wrong;
    const int chosen = chooseMethod(context.contract, arguments.first(), arguments.mid(1), &method,
                                    &values, &wrong);
    if (chosen != Toolkit::Done) {
        return Console::fail(chosen, wrong);
    }
    const QString output = context.options.value(QStringLiteral("output"));
    if (!output.isNull() && method->resultType != "QByteArray") {
        return Console::fail(
            Toolkit::WrongUsage,
            QStringLiteral("%1 returns no bytes for --output").arg(method->declaration()));
    }
    if (output == QLatin1String("-") && context.json) {
        return Console::fail(Toolkit::WrongUsage,
                             QStringLiteral("--json and \"--output -\" both print on standard "
                                            "output; the JSON has the bytes in base64"));
    }
    const QString deadline = context.options.value(QStringLiteral("deadline"));
    if (!deadline.isNull() && deadline.toInt() < 1) {
        return Console::fail(Toolkit::WrongUsage,
                             QStringLiteral("--deadline: \"%1\" is not a number of milliseconds "
                                            "from 1 to 2147483647")
                                 .arg(deadline));
    }
    return output.isNull() ? int(Toolkit::Done) : OutputFile(context, output).check();
}

int run(const Context &context, const QStringList &arguments)
{
    const Method *method = nullptr;
    QVariantList values;
    QString wrong;
    chooseMethod(context.contract, arguments.first(), arguments.mid(1), &method, &values, &wrong);
    const QString output = context.options.value(QStringLiteral("output"));
    const QString deadline = context.options.value(QStringLiteral("deadline"));
    HNIPCRequest request;
    request.setMethod(method->name);
    request.setArguments(values);
    request.setDeadline(deadline.isNull() ? context.timeout : deadline.toInt());
    finish({ &request });

    const Outcome answer = outcomeOf(*method->daemon, request);
    const QString words = deadline.isNull() ? QString() : wordsOf(request.outcome());
    int exitCode = !deadline.isNull() && request.outcome() == HNIPCRequest::Unknown
        ? int(Toolkit::OutcomeUnknown)
        : answer.exitCode();
    QString error = answer.error;
    OutputFile file(context, output);
    if (answer.ok() && !output.isNull()) {
        error = save(answer.value.toByteArray(), &file);
        exitCode = error.isNull() ? exitCode : int(Toolkit::Failed);
    }
    if (context.json) {
        QJsonObject object = answer.json();
        if (exitCode != Toolkit::Done) {
            object.insert(QStringLiteral("error"), error);
            object.insert(QStringLiteral("exit"), exitCode);
        }
        if (!words.isEmpty()) {
            object.insert(QStringLiteral("outcome"), words);
            object.insert(QStringLiteral("elapsed"), request.elapsed());
        }
        object.insert(QStringLiteral("method"), method->signature());
        object.insert(QStringLiteral("daemon"), method->daemon->name);
        Console::print(object);
    } else if (answer.ok() && !output.isNull()) {
        // The byte array may be on standard output.
        if (!words.isEmpty() && exitCode == Toolkit::Done && file.isStandardOutput()) {
            Console::note(words);
        } else if (!words.isEmpty() && exitCode == Toolkit::Done) {
            Console::print(words);
        }
    } else if (answer.ok()) {
        for (const QString &line : linesOf(*method, answer.value, words)) {
            Console::print(line);
        }
    }
    if (exitCode != Toolkit::Done) {
        Console::note(words.isEmpty() ? error : words + QLatin1String(": ") + error);
    }
    return exitCode;
}

} // namespace

// clang-format off
const Command callCommand = {
    "call", "METHOD [ARGUMENT...]", "Calls a method, and prints what it returns",
    "Each ARGUMENT is of the type that the method declares; see \"list\":\n"
    "  bool      true, on, 1 or false, off, 0\n"
    "  int, quint32, quint64\n"
    "            a number in decimal, or in hexadecimal after 0x\n"
    "  QString   the string as it is\n"
    "  QStringList\n"
    "            strings separated by commas: R1,R2; or a JSON array:\n"
    "            '[\"R1\", \"a,b\"]'; an empty argument is the empty list\n"
    "The first overload that accepts the arguments is called. METHOD may name another\n"
    "with the types of its parameters: 'sendMCCMessage(int,int,QString)'. An argument\n"
    "that begins with \"--\" has to follow the argument \"--\".\n"
    "With --deadline, prints the outcome. answered: the daemon replied; refused: it\n"
    "replied with an error; not sent: the daemon has done nothing; outcome unknown: the\n"
    "daemon may have carried out the call.",
    { { "output", "FILE", "write the byte array that the method returns to FILE; - is\n"
                          "                      standard output" },
      { "force", nullptr, "overwrite FILE" },
      { "deadline", "MS", "wait at most MS milliseconds, and print the outcome" } },
    1, -1, true,
    [](const Contract &contract) { return contract.methodNames(); }, run, check, false, false, false
};
// clang-format on
