// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_RECORDER_H
#define HNIPC_TESTS_RECORDER_H

#include <QtCore/QDebug>
#include <QtCore/QList>
#include <QtCore/QVariant>

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
    template <typename Result, typename... Arguments>
    Result answer(const char *member, const Arguments &...arguments)
    {
        calls.append(callText(member, { QVariant(arguments)... }));
        return next(static_cast<Result *>(0));
    }

private:
    template <typename Result>
    Result next(Result *) const
    {
        return nextAnswer.value<Result>();
    }
    void next(void *) const {}
};

#endif
