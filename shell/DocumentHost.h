#pragma once
#include <QString>
#include <QStringList>

class EditCommandInterface;

// What the views around the documents (the project tree, the build log, the consoles, the script
// commands) need of the document area, so none of them knows how documents are shown. Lines and
// columns are 1-based; 0 leaves the caret where it is (or at the start of a new document).
class DocumentHost {
public:
    virtual ~DocumentHost() = default;
    // Opens the file (or brings its document forward), puts the caret at line and column and
    // gives it the focus. False, with a message said to the user, when it cannot be opened.
    virtual bool openDocument(const QString &path, int line = 0, int column = 0) = 0;
    // The editor with the focus, or the current document's editor; null when none is open.
    [[nodiscard]] virtual EditCommandInterface *currentEditor() const = 0;
    // The current document's file (empty for an unsaved new one) and its text as edited.
    [[nodiscard]] virtual QString currentPath() const = 0;
    [[nodiscard]] virtual QString currentText() const = 0;
    // Files of the open documents, in tab order.
    [[nodiscard]] virtual QStringList openPaths() const = 0;
    // Saves every modified document that has a file (before a build). False when one failed;
    // its buffer is kept and the user was told.
    virtual bool saveAll() = 0;
};
