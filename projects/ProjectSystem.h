#pragma once
#include "foundation/HException.h"
#include "foundation/Path.h"
#include <QObject>
#include <QString>

class ProjectElement;
class PropertyClassList;

// A solution file that would not load; the text names the file and the problem.
class SolutionLoadError : public HException {
public:
    using HException::HException;
    ~SolutionLoadError() override;
};

// A solution or imported part that could not be written.
class SolutionSaveError : public HException {
public:
    using HException::HException;
    ~SolutionSaveError() override;
};

// Asked when a solution or imported file does not exist. Returns the path of a file to load in
// its place (the user found it elsewhere), or an empty text to give up.
class ProjectFileNotFoundErrorHandler {
public:
    virtual ~ProjectFileNotFoundErrorHandler();
    [[nodiscard]] virtual QString fileNotFound(const QString &path) = 0;
};

// Asked when a solution's templates file cannot be read. True: go on without templates.
class TemplateNotFoundErrorHandler {
public:
    virtual ~TemplateNotFoundErrorHandler();
    [[nodiscard]] virtual bool templateNotFound(const QString &path) = 0;
};

// Asked when a file cannot be written. True: the handler dealt with it (and the save counts as
// done); false: the save fails with SolutionSaveError.
class ProjectFileSaveErrorHandler {
public:
    virtual ~ProjectFileSaveErrorHandler();
    [[nodiscard]] virtual bool saveFailed(const QString &path, const QString &message) = 0;
};

// The model of an open solution as the rest of the environment sees it. The tree, its
// properties and how a value is found live in StandardProjectSystem, the one implementation.
class ProjectSystem : public QObject {
    Q_OBJECT
public:
    explicit ProjectSystem(QObject *parent = nullptr) : QObject(parent) {}
    ~ProjectSystem() override;

    // The root of the open solution, null when none is open.
    [[nodiscard]] virtual ProjectElement *solution() const = 0;
    // The declarations of the project properties and of the build macros.
    [[nodiscard]] virtual const PropertyClassList &propertyClasses() const = 0;

signals:
    void progress(const QString &text);
    void solutionLoaded(ProjectElement *solution);
    void solutionClosed();
    void propertyChanged(ProjectElement *element, const QString &configuration,
                         const QString &name);
    void fileSaved(const Path &path);
};
