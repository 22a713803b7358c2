#pragma once

#include "testing/builders/sampleplist.h"

#include <vector>

/// A keyed archive in the making: the objects that a phone writes behind one root.
class SampleArchive
{
public:
    SampleArchive();

    /// Each answers the number of the object, by which others refer to it.
    quint64 add(const QString &text);
    quint64 add(SamplePlist object);
    /// An object of NSMutableData.
    quint64 addData(const QByteArray &bytes);
    /// What "$class" refers to: the class and those above it.
    quint64 addClass(const QStringList &names);

    /// The number of an object that put() fills in later: phones write it before what it refers to.
    quint64 reserve();
    void put(quint64 object, SamplePlist content);

    QByteArray toBinary(quint64 root) const;

private:
    std::vector<SamplePlist> objects;
    quint64 dataClass = 0;
};
