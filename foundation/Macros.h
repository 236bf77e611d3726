#pragma once
#include <QDateTime>
#include <QMap>
#include <QString>
#include <optional>

class PropertyClassList;

// A macro table: name to value, ordered by name. Passed by value between preprocessing levels;
// Qt's copy-on-write keeps that cheap until one side writes.
using MacroTable = QMap<QString, QString>;

// Expands every `$(Name)`, `$(Name:fallback)` and `$(Name::literal)` reference in `text`. The
// caller's table is searched first, then the user's global macros and the system macros of
// `system` if the flags ask for them; `system` may be null (no further maps, `$` as the macro
// character). `$$` stands for one `$`. A fallback that itself holds references is expanded by a
// further pass over the whole result. Passes stop when one changes nothing, and for inputs that
// would go on for ever (an unknown name holding a `$` next to a growing value) after a bounded
// number of passes or once the text has outgrown maxExpandedLength. `truncated`, when given,
// tells whether a single pass was cut short at maxExpandedLength characters.
[[nodiscard]] QString expandMacros(const PropertyClassList *system, const MacroTable &table,
                                   const QString &text, bool useGlobalMacros,
                                   bool useSystemMacros, bool *truncated = nullptr);

// The same with `overlay` searched before `table`, so that a few macros of a caller's own can
// stand over a shared table without a merged copy.
[[nodiscard]] QString expandMacros(const PropertyClassList *system, const MacroTable &overlay,
                                   const MacroTable &table, const QString &text,
                                   bool useGlobalMacros, bool useSystemMacros,
                                   bool *truncated = nullptr);

// Upper bound of an expanded text; beyond it a pass stops appending (see expandMacros).
constexpr qsizetype maxExpandedLength = 4 * 1024 * 1024;
// Further passes are made only while this many have not run yet.
constexpr int maxExpansionPasses = 100;

// The value of one of the date and time macros (`Date`, `DateYear`, ... `UnixTime`) at `now`, or
// nothing if `name` is not one of them.
[[nodiscard]] std::optional<QString> computedMacroValue(const QString &name,
                                                        const QDateTime &now);

// "a=1;b=2" to a table. A backslash keeps the next character whatever it is (`\;`, `\\`);
// empty items are dropped; an item without `=` defines an empty value; the later item wins.
[[nodiscard]] MacroTable parseMacroDefinitions(const QString &text);

// A copy of `base` with every entry of `extra` set over it.
[[nodiscard]] MacroTable mergeMacros(const MacroTable &base, const MacroTable &extra);
