// The scrolling list of other applications' windows, 190 × 158, one row per window.
#pragma once

#include "core/ManagedWindow.h"

#include <QList>
#include <QWidget>
#include <optional>

class QLabel;
class QScrollArea;
class QVBoxLayout;
class WindowRow;

class WindowListBox final : public QWidget {
    Q_OBJECT
public:
    explicit WindowListBox(QWidget* parent = nullptr);

    // Rebuilds the rows when the windows differ, then marks the selected one. "No windows" shows
    // only once they have been `listed`.
    void setWindows(const QList<ManagedWindow>& windows, const std::optional<QUuid>& selected,
                    bool listed = true);
    const QList<WindowRow*>& rows() const { return m_rows; }
    QLabel* emptyLabel() const { return m_empty; }

signals:
    void picked(const QUuid& id);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QScrollArea* m_scroll = nullptr;
    QWidget* m_content = nullptr;
    QVBoxLayout* m_stack = nullptr;
    QLabel* m_empty = nullptr;
    QList<ManagedWindow> m_windows;
    QList<WindowRow*> m_rows;
};
