// SPDX-License-Identifier: MIT
// Shows the QML file that is its argument, until the screen is closed.

#include <QtCore/QUrl>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickView>

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    if (argc != 2) {
        qFatal("One argument is needed: the QML file");
    }

    QQuickView view;
    QObject::connect(view.engine(), &QQmlEngine::quit, &application, &QGuiApplication::quit,
                     Qt::QueuedConnection);
    QObject::connect(view.engine(), &QQmlEngine::exit, &application, &QGuiApplication::exit,
                     Qt::QueuedConnection);
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    view.setSource(QUrl::fromUserInput(application.arguments().at(1), "."));
    if (view.status() != QQuickView::Ready) {
        return 1;
    }
    view.show();
    return application.exec();
}
