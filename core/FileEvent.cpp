#include "core/FileEvent.h"

#include <QStringList>

#include <array>
#include <utility>

namespace dowsel {

QString flagDescription(FSEventFlags flags)
{
    static const std::array<std::pair<FSEventFlags, const char *>, 9> names{{
        {FSEventFlags::created, "created"},
        {FSEventFlags::removed, "removed"},
        {FSEventFlags::renamed, "renamed"},
        {FSEventFlags::modified, "modified"},
        {FSEventFlags::closedAfterWrite, "closedAfterWrite"},
        {FSEventFlags::metadataChanged, "metadataChanged"},
        {FSEventFlags::isFile, "isFile"},
        {FSEventFlags::isDir, "isDir"},
        {FSEventFlags::mustScan, "mustScan"},
    }};
    QStringList present;
    for (const auto &[member, name] : names) {
        if (flags.contains(member))
            present << QLatin1String(name);
    }
    return present.join(QLatin1String(", "));
}

} // namespace dowsel
