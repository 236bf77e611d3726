#pragma once
#include "sourcecontrol/SourceControlResults.h"
#include <QByteArray>

// The short status lines the command line prints, in the form scripts already parse: "XY PATH",
// or "XY OLD -> NEW" for a rename or copy, with paths from the working copy's root.

// A path quoted as a C string when it holds control characters, '"', '\\' or (with
// `quoteNonAscii`) bytes above 0x7f, which are written as octal escapes; with `quoteSpaces` a
// path that holds a blank is put in double quotes as well.
[[nodiscard]] QByteArray quotedPath(const QByteArray &path, bool quoteNonAscii, bool quoteSpaces);

// One line, without its newline.
[[nodiscard]] QByteArray porcelainLine(const SourceControlFileStatus &file, bool quoteNonAscii);
