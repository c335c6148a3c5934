// An empty program with a tray icon and one socket.
#include <QApplication>
#include <QPixmap>
#include <QSystemTrayIcon>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QTcpSocket socket;
    socket.connectToHost(u"localhost"_s, QString::fromLocal8Bit(argv[1]).mid(5).toUShort());
    QPixmap picture(22, 22);
    picture.fill(Qt::darkCyan);
    QSystemTrayIcon icon{QIcon(picture)};
    icon.show();
    return QApplication::exec();
}
