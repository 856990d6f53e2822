// SPDX-License-Identifier: MIT
#include <QApplication>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    return app.exec();
}
