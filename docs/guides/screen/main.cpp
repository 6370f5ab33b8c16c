// SPDX-License-Identifier: MIT
// Shows the QML file that its argument names.

#include <QtCore/QUrl>
#include <QtGui/QGuiApplication>
#include <QtQuick/QQuickView>

//! [main]
int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    QQuickView view;
    view.setSource(QUrl::fromUserInput(application.arguments().value(1), "."));
    if (view.status() != QQuickView::Ready)
        return 1;
    view.show();
    return application.exec();
}
//! [main]
