#include "input/MoreMenuViewModel.h"

#include <algorithm>

namespace dowsel {

MoreMenuViewModel::MoreMenuViewModel(QObject *parent)
    : QObject(parent),
      m_items{
          {0, MoreMenuItem::Action::open, QStringLiteral("document-open"), tr("Open"), QStringLiteral("Super+Shift+O"),
           false},
          {1, MoreMenuItem::Action::shareAndDelete, QStringLiteral("document-send"), tr("Share & Delete"),
           QStringLiteral("Super+Shift+S"), false},
          {2, MoreMenuItem::Action::copyAndDelete, QStringLiteral("edit-copy"), tr("Copy & Delete"),
           QStringLiteral("Super+Shift+C"), false},
          {3, MoreMenuItem::Action::delete_, QStringLiteral("user-trash"), tr("Delete"),
           QStringLiteral("Super+Shift+Backspace"), true},
      }
{
}

void MoreMenuViewModel::setSelectedIndex(int index)
{
    if (index == m_selectedIndex)
        return;
    m_selectedIndex = index;
    Q_EMIT selectedIndexChanged(index);
}

void MoreMenuViewModel::moveSelection(int by)
{
    if (m_items.empty())
        return;
    setSelectedIndex(std::clamp(m_selectedIndex + by, 0, int(m_items.size()) - 1));
}

std::optional<MoreMenuItem::Action> MoreMenuViewModel::selectedAction() const
{
    if (m_selectedIndex < 0 || m_selectedIndex >= int(m_items.size()))
        return std::nullopt;
    return m_items[size_t(m_selectedIndex)].action;
}

} // namespace dowsel
