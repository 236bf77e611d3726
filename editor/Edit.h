#pragma once
#include "foundation/Path.h"
#include <QString>

// What the document and window layers need of any editor, text or binary.
class Edit {
public:
    virtual ~Edit() = default;

    // Size of the file in bytes when it was last read or written.
    [[nodiscard]] virtual qint64 fileSize() const = 0;
    [[nodiscard]] virtual int numberOfLines() const = 0;
    [[nodiscard]] virtual Path fileName() const = 0;
    // Mode 0 writable, 1 read-only, 2 locked read-only; without `force`, 2 is never overwritten.
    virtual void setReadOnly(int mode, bool force) = 0;
    // Read-only when the file exists and is not writable.
    virtual void updateReadOnlyFromFile() = 0;
    virtual bool load(const Path &path) = 0;
    [[nodiscard]] virtual bool isModified() const = 0;
    [[nodiscard]] virtual bool isReadOnly() const = 0;
    virtual void setUnmodified() = 0;
    [[nodiscard]] virtual bool isEditable() const = 0;
    // The caret's place for the status bar.
    [[nodiscard]] virtual QString statusText() const = 0;
    virtual bool save() = 0;
    // Asks about unsaved changes; true when the close may go on.
    virtual bool queryClose() = 0;
    // Unless `force`, asks first; true when the document was closed.
    virtual bool close(bool force) = 0;
    virtual void setCaption(const QString &caption) = 0;
    // Whether the editor command numbered `id` can run now.
    [[nodiscard]] virtual bool isCommandEnabled(int id) const = 0;
};
