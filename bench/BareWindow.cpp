// The yardstick of the start-up benchmark: a bare Qt window titled like ours, with nothing in it.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Bare"));
    window.resize(640, 480);
    window.show();
    return app.exec();
}
