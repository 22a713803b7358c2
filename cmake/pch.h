// Headers that nearly every file pulls in; compiled once a library.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <stdexcept>
