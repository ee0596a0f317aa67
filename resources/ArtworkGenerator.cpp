// Draws Quillet's default desktop pictures: calm gradients with soft overlapping waves, one
// light and one dark. Usage: quillet-artwork <output dir>
#include <QDir>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <cmath>
#include <cstdio>

namespace {

struct Palette {
    QColor top, bottom, glow, waveA, waveB;
};

// A gentle band: two slow sine swells summed, so the edge never repeats visibly.
QPainterPath wave(double width, double height, double baseline, double amplitude, double phase)
{
    QPainterPath path;
    path.moveTo(0, height);
    for (int x = 0; x <= int(width); x += 8) {
        const double t = x / width * 2 * M_PI;
        const double y = baseline + amplitude * (std::sin(t * 1.3 + phase) +
                                                 0.45 * std::sin(t * 3.1 + phase * 2));
        path.lineTo(x, y);
    }
    path.lineTo(width, height);
    path.closeSubpath();
    return path;
}

QImage draw(const Palette& palette)
{
    const int w = 2560;
    const int h = 1600;
    QImage image(w, h, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, h);
    sky.setColorAt(0, palette.top);
    sky.setColorAt(1, palette.bottom);
    p.fillRect(image.rect(), sky);

    QRadialGradient glow(w * 0.72, h * 0.28, w * 0.45);
    glow.setColorAt(0, palette.glow);
    glow.setColorAt(1, Qt::transparent);
    p.fillRect(image.rect(), glow);

    p.setPen(Qt::NoPen);
    p.setBrush(palette.waveA);
    p.drawPath(wave(w, h, h * 0.66, h * 0.06, 0.4));
    p.setBrush(palette.waveB);
    p.drawPath(wave(w, h, h * 0.80, h * 0.05, 2.1));
    return image;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: quillet-artwork <output dir>\n");
        return 2;
    }
    const QDir dir(QString::fromLocal8Bit(argv[1]));
    const Palette light{QColor(0xdf, 0xe9, 0xf5), QColor(0xf6, 0xf1, 0xea),
                        QColor(255, 255, 255, 150), QColor(0xb9, 0xcf, 0xe8, 170),
                        QColor(0x9f, 0xbd, 0xdf, 190)};
    const Palette dark{QColor(0x12, 0x16, 0x24), QColor(0x1d, 0x1a, 0x2c),
                       QColor(0x5a, 0x4c, 0x9a, 110), QColor(0x2a, 0x2f, 0x4f, 200),
                       QColor(0x35, 0x2c, 0x55, 210)};
    // Each picture with a small copy in thumbnails/, written after it, so the program shows its
    // previews without decoding the full pictures at start-up.
    dir.mkpath(QStringLiteral("thumbnails"));
    const auto write = [&dir](const QImage& image, const QString& name) {
        return image.save(dir.filePath(name)) &&
               image.scaled(256, 256, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                   .save(dir.filePath(QStringLiteral("thumbnails/") + name));
    };
    const bool ok = write(draw(light), QStringLiteral("Light.png")) &&
                    write(draw(dark), QStringLiteral("Dark.png"));
    if (!ok) {
        std::fprintf(stderr, "quillet-artwork: cannot write into %s\n", argv[1]);
        return 1;
    }
    return 0;
}
