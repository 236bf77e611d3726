#pragma once
#include "foundation/MacroSession.h"
#include "foundation/PropertyClass.h"
#include "projects/StandardProjectSystem.h"
#include "tests/support/TestSupport.h"
#include <QTemporaryDir>
#include <memory>

// A solution written into a temporary directory and loaded, with the process-wide macro
// system set up for the time of the test.
class SolutionFixture {
public:
    SolutionFixture() = default;
    ~SolutionFixture() { system.closeSolution(); }

    QString path(const QString &name) const { return directory.filePath(name); }
    void write(const QString &name, const QByteArray &bytes)
    {
        TestSupport::writeFile(path(name), bytes);
    }
    // Wraps a solution element's text into a solution file.
    static QByteArray file(const QByteArray &solution)
    {
        return "<!DOCTYPE Tessbench_Project_File>\n<Tessbench_Project_File>\n" + solution
             + "\n</Tessbench_Project_File>\n";
    }
    ProjectElement *load(const QByteArray &solution, const QString &name = QStringLiteral("s.qvProject"))
    {
        write(name, file(solution));
        return system.loadSolution(directory.path(), name, false);
    }
    // The load failure's text, or "loaded" when it loads.
    QString loadError(const QString &name)
    {
        try {
            system.loadSolution(directory.path(), name, false);
        } catch (const HException &error) {
            return error.message();
        }
        return QStringLiteral("loaded");
    }

    MacroSession m_macros{QStringLiteral("/opt/tess")};
    QTemporaryDir directory;
    StandardProjectSystem system;
};
