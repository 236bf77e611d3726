#pragma once
#include "buildengine/Bookmark.h"
#include <QDateTime>
#include <QObject>
#include <QString>
#include <memory>
#include <vector>

class DiagnosticParser;

// Errors, warnings and notes at or below a log item.
struct LogCounts {
    int errors = 0;
    int warnings = 0;
    int notes = 0;
};

// One line of the build log: a group (a build, a project, a step) or a message inside one.
// The parent owns its children.
class BuildLogItem {
public:
    BuildLogItem(BuildLogItem *parent, QString text, int type, Bookmark bookmark = {});

    [[nodiscard]] const QString &text() const { return m_text; }
    [[nodiscard]] int type() const { return m_type; }
    [[nodiscard]] Severity severity() const { return severityOf(m_type); }
    // What the item's icon shows: its own severity or the worst that reached it from below.
    [[nodiscard]] Severity shownSeverity() const { return m_shown; }
    [[nodiscard]] const Bookmark &bookmark() const { return m_bookmark; }
    [[nodiscard]] const QDateTime &startTime() const { return m_startTime; }
    [[nodiscard]] const LogCounts &counts() const { return m_counts; }   // of the items below
    [[nodiscard]] BuildLogItem *parent() const { return m_parent; }
    [[nodiscard]] const std::vector<std::unique_ptr<BuildLogItem>> &children() const
    {
        return m_children;
    }

private:
    friend class BuildLog;
    BuildLogItem *m_parent;
    QString m_text;
    int m_type;
    Severity m_shown;
    Bookmark m_bookmark;
    QDateTime m_startTime;
    LogCounts m_counts;
    std::vector<std::unique_ptr<BuildLogItem>> m_children;
};

// The tree of a build's output, free of any view: a view shows root()'s children and listens to
// itemAdded. The slots act on the log's own stack of open groups (scripts and tools outside a
// build use them); builders keep their own stacks and pass the parent explicitly, so output of
// concurrent tools stays in its own step.
class BuildLog : public QObject {
    Q_OBJECT
public:
    explicit BuildLog(QObject *parent = nullptr);
    ~BuildLog() override;

    [[nodiscard]] BuildLogItem *root() const { return m_root.get(); }
    // The group that slots add to: the innermost open group, or the root.
    [[nodiscard]] BuildLogItem *currentGroup() const;
    // Adds below `parent` (nullptr: the current group) and rolls severity and counts up.
    BuildLogItem *addItem(BuildLogItem *parent, const QString &text, int type,
                          const Bookmark &bookmark = {});
    BuildLogItem *openGroup(BuildLogItem *parent, const QString &title);

    // Errors, warnings and notes summed over the top-level items.
    [[nodiscard]] LogCounts counts() const;
    // The tree as indented text: one item a line with its severity, for copying and tests.
    [[nodiscard]] QString text(const BuildLogItem *from = nullptr) const;
    [[nodiscard]] int view() const { return m_view; }
    // The item last located; null after clear() or before any locate.
    [[nodiscard]] BuildLogItem *located() const { return m_located; }
    // "Environment/Build/Show Unparsed Error Output": lines that are no diagnostic are shown.
    void setShowUnparsedOutput(bool show) { m_showUnparsed = show; }

public slots:
    void beginGroup(const QString &title);
    void endGroup();
    void addError(const QString &text);
    void addWarning(const QString &text);
    void addNote(const QString &text);
    void addSuccess(const QString &text);
    void addMessage(const QString &text);
    void processOutput(const QString &text);   // lines of tool output, parsed
    void addProcessedOutput(const Bookmark &bookmark);
    void addPlainOutput(const QString &text);
    void addResult(const QString &text, bool failed);   // the closing line of a build
    void terminated();
    void clear();
    void fileLinesChanged(const QString &path, int line, int delta);
    void locateNext();
    void locatePrevious();
    [[nodiscard]] QString copy() const;      // the item last located, with what is below it
    [[nodiscard]] QString copyAll() const;
    void showView(int view);
    // Makes `item` the one located (where locateNext and locatePrevious go on from) and, when
    // it points into a file, emits locateBookmark: what a double click on an item does.
    void locateItem(BuildLogItem *item);

signals:
    void locateBookmark(const Bookmark &bookmark);
    void message(const QString &text);
    void error(const QString &text);
    void warning(const QString &text);
    void note(const QString &text);
    void itemAdded(BuildLogItem *item);
    void cleared();
    void viewChanged(int view);

private:
    void locate(int step);
    [[nodiscard]] std::vector<BuildLogItem *> locatableItems() const;

    std::unique_ptr<BuildLogItem> m_root;
    std::vector<BuildLogItem *> m_openGroups;   // innermost last
    std::unique_ptr<DiagnosticParser> m_parser;
    BuildLogItem *m_located = nullptr;
    int m_view = 0;
    bool m_showUnparsed = true;
};
