// SPDX-License-Identifier: MIT
// The application around a screen of Qt 4.8.
#include "registration.h"

#include <QtDeclarative/QDeclarativeView>
#include <QtGui/QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    registerClasses();
    QDeclarativeView view;
    view.setSource(QUrl::fromLocalFile("Screen.qml"));
    view.show();
    return application.exec();
}
