#pragma once

#include <QDir>

/// Where below the root folder of a source the phone's own files lie, "var/mobile" among them: in
/// "file-relay", unless the message database stands in the root's own "var".
QDir phoneTree(const QDir &root);
