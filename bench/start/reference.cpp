// An empty program with a tray icon and one socket.
#include <QApplication>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTcpSocket>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("localhost"),
                         QString::fromLocal8Bit(argv[1]).mid(5).toUShort());
    QPixmap picture(22, 22);
    picture.fill(Qt::darkCyan);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.show();
    return QApplication::exec();
}
