#pragma once

class JobProgress;

/// Whether a database of the old format lies among the folders of the Local Databases, under its own name or
/// that of an interrupted update, or one that can't be read. The program then runs the update before anything
/// else.
bool needsLocalDbUpdate();

/// Converts every old-format file among the Local Databases into a Local Database of its name. An old
/// file goes only after all of its messages are kept in the new one; an interrupted run is taken up by the
/// next. Files that are none stay as they are. Throws `std::runtime_error` at the first file that can't be
/// converted; those before it are done.
void updateLocalDatabases(JobProgress &progress);
