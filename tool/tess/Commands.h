#pragma once
#include <QStringList>

// A subcommand of `tess`: `run` gets the arguments behind the subcommand's name and returns the
// exit status. Each subcommand lives in its own file in this folder and adds one row to the
// table in main.cpp.
struct TessCommand {
    const char *name;
    const char *usage;
    int (*run)(const QStringList &arguments);
};
