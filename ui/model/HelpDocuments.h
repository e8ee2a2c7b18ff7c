#pragma once

#include <QString>
#include <QStringList>

namespace dowsel {

// What the settings' "Help & legal" rows open: files that ship with Dowsel.
enum class HelpDocument { readme, privacy, licence, acknowledgements };

inline constexpr HelpDocument allHelpDocuments[] = {HelpDocument::readme, HelpDocument::privacy,
                                                    HelpDocument::licence, HelpDocument::acknowledgements};

// The row's title, translated.
QString helpDocumentTitle(HelpDocument document);

// Where to look, best first: beside an installed binary (<prefix>/share/dowsel/), then the
// source tree the binary was built from, then, for the licence, the system's copy of the GPL.
QStringList helpDocumentCandidates(HelpDocument document, const QString &applicationDir);

// The first candidate that exists; empty when none does.
QString findHelpDocument(HelpDocument document, const QString &applicationDir);

} // namespace dowsel
