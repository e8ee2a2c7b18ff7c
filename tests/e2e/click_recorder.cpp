// A plain application window for the end-to-end tests: it fills what the window manager gives
// it and appends each mouse press ("press X Y", window coordinates) and each key typed
// ("key TEXT") to the file named on its command line, so a test can tell which clicks and
// keys reached it rather than a window above it. With --maximized or --full-screen after the
// log it asks the window manager for the whole screen.
#include <QFile>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QRasterWindow>

#include <cstdio>
#include <cstdlib>

namespace {

class Recorder : public QRasterWindow {
public:
    explicit Recorder(const QString &path) : m_log(path)
    {
        if (!m_log.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
            std::fprintf(stderr, "click_recorder: cannot write %s\n", qPrintable(path));
            std::exit(2);
        }
        setTitle(QStringLiteral("click recorder"));
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        // A colour the toast never draws, so a screenshot tells the window from the desktop.
        QPainter(this).fillRect(QRect(QPoint(), size()), QColor(0x20, 0x60, 0xd0));
    }
    void exposeEvent(QExposeEvent *event) override
    {
        QRasterWindow::exposeEvent(event);
        if (isExposed() && !m_announced) {
            m_announced = true;
            write(QStringLiteral("shown %1 %2").arg(width()).arg(height()));
        }
    }
    void mousePressEvent(QMouseEvent *event) override
    {
        const QPoint at = event->position().toPoint();
        write(QStringLiteral("press %1 %2").arg(at.x()).arg(at.y()));
    }
    void keyPressEvent(QKeyEvent *event) override
    {
        if (!event->text().isEmpty())
            write(QStringLiteral("key ") + event->text());
    }
    void focusInEvent(QFocusEvent *) override { write(QStringLiteral("focus in")); }
    void focusOutEvent(QFocusEvent *) override { write(QStringLiteral("focus out")); }

private:
    void write(const QString &line) { m_log.write((line + QLatin1Char('\n')).toUtf8()); }

    QFile m_log;
    bool m_announced = false;
};

} // namespace

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: click_recorder LOG [--maximized|--full-screen]\n");
        return 2;
    }
    Recorder window(QString::fromLocal8Bit(argv[1]));
    window.resize(640, 480);
    const QByteArray how = argc > 2 ? QByteArray(argv[2]) : QByteArray();
    if (how == "--maximized")
        window.showMaximized();
    else if (how == "--full-screen")
        window.showFullScreen();
    else
        window.show();
    return app.exec();
}
