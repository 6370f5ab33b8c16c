// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_RECORDER_H
#define HNIPC_TESTS_RECORDER_H

#include <QtCore/QDebug>
#include <QtCore/QList>
#include <QtCore/QVariant>

#include <initializer_list>

// A call as text that shows the type of each argument.
inline QByteArray callText(const QByteArray &member, const QVariantList &arguments)
{
    QString text;
    QDebug(&text) << arguments;
    return member + text.toUtf8();
}

// The calls that reached the implementations of a daemon's operations, and the next return value.
class Recorder
{
public:
    virtual ~Recorder() {}

    QList<QByteArray> calls;
    QVariant nextAnswer;

protected:
    void note(const char *member, std::initializer_list<QVariant> arguments = {})
    {
        QVariantList list;
        for (const QVariant &argument : arguments) {
            list.append(argument);
        }
        calls.append(callText(member, list));
    }

    template <typename Result, typename... Arguments>
    Result answer(const char *member, const Arguments &...arguments)
    {
        note(member, { QVariant(arguments)... });
        return nextAnswer.value<Result>();
    }
};

#endif
