// SPDX-License-Identifier: MIT
// Several calls at once, as futures of Qt 6.

#include "words.h"

#include <hnipc/hnipcrequest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFuture>

using Answer = HNIPCAnswer<QString>;

static QFuture<Answer> answerOf(HNIPCRequest *request)
{
    return QtFuture::connect(request, &HNIPCRequest::finished).then([request]() {
        return Answer(*request); // here, since the request deletes itself
    });
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);

    QList<QFuture<Answer>> calls = {
        answerOf(hnipcCall(HNIPC_METHOD(m4Version)).within(5000).send(&application)),
        answerOf(hnipcCall(HNIPC_METHOD(supplySKUCached)).within(5000).send(&application)),
    };
    QtFuture::whenAll(calls.begin(), calls.end())
        .then(&application, [&application](const QList<QFuture<Answer>> &finished) {
            for (const QFuture<Answer> &each : finished) {
                const Answer answer = each.result();
                say(answer.isAnswered() ? answer.value() : answer.errorText());
            }
            application.quit();
        });

    return application.exec();
}
