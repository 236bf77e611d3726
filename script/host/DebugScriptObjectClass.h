#pragma once
#include "script/host/HostClass.h"
#include "script/host/HostServices.h"
#include <QStringList>
#include <vector>

struct ExpressionValue;

// "Debug": forwards each function to the debugger front end. Without a running target the
// functions that need one raise "no target connected".
class DebugScriptObjectClass : public HostClass {
public:
    explicit DebugScriptObjectClass(const HostServices &services);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    ExpressionValue evaluate(ESNativeCall &call, const char *function);
    void print(ESNativeCall &call);
    void printGlobals(ESNativeCall &call);
    void output(const QString &text);
    HostServices m_services;
};

// "Threads": fills the rows of the threads view. A row is a list of column texts; rows past the
// limit (the project's "Threads Maximum") are dropped and the view shows the limit text.
class ThreadsWindowScriptObjectClass : public HostClass {
public:
    explicit ThreadsWindowScriptObjectClass(const HostServices &services, int limit = 64);

    // One queue of rows: its name and the rows.
    struct Queue {
        QString name;
        std::vector<QStringList> rows;
    };
    const std::vector<Queue> &queues() const { return m_queues; }
    const QStringList &columns() const { return m_columns; }
    // The texts the view shows: a header, one line per row, then the limit text when reached.
    QStringList viewText() const;
    // "Maximum thread number N to display has been reached. ..."
    static QString limitText(int limit);

protected:
    bool callHost(int id, ESNativeCall &call) override;

private:
    void addRow(ESNativeCall &call);
    HostServices m_services;
    int m_limit;
    int m_rowCount = 0;
    bool m_limitReached = false;
    bool m_sortByNumber = false;
    bool m_shown = true;
    QStringList m_columns;
    QString m_color;
    std::vector<Queue> m_queues;
};
