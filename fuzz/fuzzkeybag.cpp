#include "backup/keys/keybag.h"

#include <QtEndian>

using namespace Qt::StringLiterals;

namespace
{

constexpr quint32 mostRounds = 10; // more would only make the fuzzer slow

} // namespace

/// The input is a keybag; its last 40 bytes stand for the wrapped key of a file too.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    KeyBag keyBag = parseKeyBag(bytes);
    for (const QString &tag : {u"ITER"_s, u"DPIC"_s}) {
        QByteArray &rounds = keyBag.attributes[tag];
        if (rounds.size() >= 4 && qFromBigEndian<quint32>(rounds.constData()) > mostRounds)
            rounds = QByteArray(4, 0);
    }
    const bool isUnlocked = unlockClasses(keyBag, u"secret"_s);
    for (KeyBagItems &items : keyBag.classes) {
        if (!isUnlocked && items.contains(u"KEY"_s) && items.contains(u"WPKY"_s))
            abort();
        aesKeyUnwrap(bytes.left(32), items.value(u"WPKY"_s));
        items.insert(u"KEY"_s, bytes.left(32));
    }
    for (auto it = keyBag.classes.cbegin(); it != keyBag.classes.cend(); ++it)
        fileKey(keyBag.classes, it.key(), bytes.right(40));
    return 0;
}
