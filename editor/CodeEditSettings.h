#pragma once
#include <QString>

// The environment settings a document reads ("Text Editor/..."), with the values they ship with.
struct CodeEditSettings {
    int undoMode = 1;                        // "Text Editor/Undo Mode": 0 none, 1 by word, 2 all typing
    bool detectUtf8 = true;                  // "Text Editor/Detect UTF-8"
    QString defaultCodec = QStringLiteral("ISO-8859-1");   // "Text Editor/Default Codec"
    int defaultLineEnding = 1;               // "Text Editor/Default Line Endings": 0 CR LF, 1 LF, 2 CR
    qint64 maximumFileSize = qint64(1) << 30;   // "Text Editor/Maximum File Size", in bytes
    bool deleteTrailingSpaceOnSave = false;  // "Text Editor/Delete Trailing Space On Save"
    int cleanupTabsOnSave = 0;               // "Text Editor/Cleanup Tabs On Save": 1 untabify, 2 tabify
    bool editReadOnly = false;               // "Text Editor/Edit Read Only"
    int tabSize = 4;                         // "Text Editor/Tab Size"
    bool insertTabs = false;                 // "Text Editor/Insert Tabs": fill with tabs, then spaces
    bool freeCaret = false;                  // "Text Editor/Free Caret": the caret may stay past line ends
};
