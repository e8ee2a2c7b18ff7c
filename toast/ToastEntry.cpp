#include "toast/ToastEntry.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>

namespace dowsel {

std::vector<ToastFileItem> makeToastFileItems(const std::vector<ToastEntry> &entries)
{
    std::vector<ToastFileItem> items;
    items.reserve(entries.size());
    for (const ToastEntry &entry : entries) {
        TrackedFile snapshot;
        snapshot.filePath = entry.filePath;
        snapshot.fileSize = entry.fileSize;
        items.push_back(ToastFileItem{
            .id = QString::number(entry.id),
            .fileName = displayText(entry.fileName),
            .fileSize = snapshot.sizeLabel(),
            .filePath = displayText(entry.filePath),
            .index = int(items.size()) + 1,
            .site = entry.site,
            .sameAs = displayText(entry.sameAs),
        });
    }
    return items;
}

IslandCaption islandCaption(const std::vector<ToastFileItem> &files)
{
    if (files.empty())
        return {};
    const ToastFileItem &front = files.front();
    const auto copies = std::count_if(files.begin(), files.end(), [](const ToastFileItem &file) { return !file.sameAs.isEmpty(); });
    // The copy first: when the line is cut short, the site goes before it does.
    QStringList parts;
    if (!front.sameAs.isEmpty())
        parts << QCoreApplication::translate("dowsel::DynamicIslandToastView", "Same as %1").arg(front.sameAs);
    else if (copies > 0)
        parts << QCoreApplication::translate("dowsel::DynamicIslandToastView", "%n of them already in Downloads", nullptr,
                                             int(copies));
    if (!front.site.isEmpty())
        parts << front.site;
    return {parts.join(QStringLiteral(" · ")), copies > 0};
}

} // namespace dowsel
