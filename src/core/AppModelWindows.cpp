// The model's window operations: the list of other applications' windows and the selection.
#include "AppModel.h"
#include "WindowMover.h"
#include "platform/Platform.h"

void AppModel::refreshWindows()
{
    m_windowsListed = true;
    assign(m_windows, WindowMover::windows(m_platform), Field::windows);
    // Identities are fresh on every enumeration, so in practice the first window is selected.
    const bool kept = m_selectedWindowID && std::any_of(m_windows.cbegin(), m_windows.cend(),
                                                        [this](const ManagedWindow& w) {
                                                            return w.id == *m_selectedWindowID;
                                                        });
    if (kept)
        return;
    assign(m_selectedWindowID,
           m_windows.isEmpty() ? std::optional<QUuid>()
                               : std::optional<QUuid>(m_windows.first().id),
           Field::selectedWindowID);
}

const ManagedWindow* AppModel::selectedWindow() const
{
    if (!m_selectedWindowID)
        return nullptr;
    for (const ManagedWindow& window : m_windows) {
        if (window.id == *m_selectedWindowID)
            return &window;
    }
    return nullptr;
}

void AppModel::arrangeSelected(WindowArrangement arrangement)
{
    if (const ManagedWindow* window = selectedWindow())
        WindowMover::arrange(m_platform, window->element, arrangement);
}

void AppModel::resizeSelected(QSizeF size)
{
    if (const ManagedWindow* window = selectedWindow())
        WindowMover::resize(m_platform, window->element, size);
}

void AppModel::hideSelectedWindow()
{
    const ManagedWindow* window = selectedWindow();
    if (!window)
        return;
    WindowMover::minimize(m_platform, window->element);
    refreshWindows();
}

void AppModel::setSelectedWindowID(const std::optional<QUuid>& id)
{
    assign(m_selectedWindowID, id, Field::selectedWindowID);
}
