#pragma once

#include <QString>

// Completion of the companion's commands, options and values, as scripts of three shells. All three offer
// what a value stands for: alternatives, files, folders, and the names of Local Databases, which they ask the
// companion for. `frame` is the script without what the table says; each gap has a line of its own.

QString bashCompletion(QString frame);
QString zshCompletion(QString frame);
QString fishCompletion(QString frame);
