// An empty program with a tray icon and one socket. With the argument "labels" also a window in
// which two labels are repainted each second; with "version" it says which Qt it runs on.
#include <QApplication>
#include <QLabel>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTcpSocket>
#include <QTimer>
#include <QVBoxLayout>

#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    if (qstrcmp(argv[1], "version") == 0) {
        return std::puts(qVersion()) < 0 ? 1 : 0;
    }
    QApplication application(argc, argv);
    QTcpSocket socket;
    socket.connectToHost(u"localhost"_s, QString::fromLocal8Bit(argv[1]).mid(5).toUShort());
    QPixmap picture(22, 22);
    picture.fill(Qt::darkCyan);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.show();
    if (argc < 3) {
        return QApplication::exec();
    }
    QWidget window;
    auto* const column = new QVBoxLayout(&window);
    for (int i = 0; i < 2; ++i) {
        auto* const label = new QLabel(&window);
        auto* const timer = new QTimer(label);
        column->addWidget(label);
        QObject::connect(timer, &QTimer::timeout, label, [label, seconds = 0]() mutable {
            label->setText(u"00:00:%1"_s.arg(++seconds, 2, 10, QLatin1Char('0')));
        });
        timer->start(1000);
    }
    window.show();
    return QApplication::exec();
}
