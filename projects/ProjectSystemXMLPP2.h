#pragma once
#include "foundation/XMLPP2.h"

// The preprocessor as the project system loads solution files: every element it makes is a
// ProjectElement, so the parsed document is the solution tree, and directive messages are
// dropped (a solution loads with what the directives left).
class ProjectSystemXMLPP2 : public XMLPP2 {
public:
    ProjectSystemXMLPP2() : XMLPP2(0) {}

    [[nodiscard]] XMLElement *createElement(char *name) override;
    void error(const QString &message) override;
};
