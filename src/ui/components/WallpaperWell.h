// An image well for one appearance's desktop picture: shows the picture (or a placeholder),
// opens a file chooser when clicked, takes a dropped file, and offers a clear button while the
// pointer is over a well that holds a picture.
#pragma once

#include <QAbstractButton>
#include <QImage>
#include <QRectF>
#include <QString>
#include <QStringList>
#include <optional>

class QMimeData;
class QToolButton;

class WallpaperWell final : public QAbstractButton {
    Q_OBJECT
public:
    static constexpr int wellWidth = 58;
    static constexpr int wellHeight = 38;
    static constexpr double cornerRadius = 5.0;
    static constexpr int clearSize = 13;
    static constexpr int clearPadding = 2;
    static constexpr int labelGap = 4;

    WallpaperWell(const QString& label, const std::optional<QString>& path,
                  QWidget* parent = nullptr);

    QString label() const { return text(); }
    std::optional<QString> path() const { return m_path; }
    void setPath(const std::optional<QString>& path);
    bool isHovering() const { return m_hovering; }
    QToolButton* clearButton() const { return m_clear; }

    // The well inside a component `width` wide.
    static QRectF wellRect(int width);
    // The file chooser's filter: PNG, JPEG, HEIC where it can be read, TIFF, and every other
    // format the installed image readers know.
    static QString pictureFilter();
    // The local file of the first item of a drop; none when the drop holds no file.
    static std::optional<QString> firstDroppedFile(const QMimeData* data);
    // Where the file chooser opens: the folder of the current picture, else the user's
    // Pictures folder.
    static QString startDirectory(const std::optional<QString>& path);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

public slots:
    // Opens the file chooser; a confirmed file comes out as `picked`.
    void pick();

signals:
    void picked(const QString& path);
    void cleared();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool hitButton(const QPoint& pos) const override;

private:
    void setHovering(bool hovering);
    void updateClearButton();

    std::optional<QString> m_path;
    QImage m_image;
    bool m_hovering = false;
    QToolButton* m_clear = nullptr;
};
