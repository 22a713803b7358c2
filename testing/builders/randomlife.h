#pragma once

#include "testing/builders/iosversion.h"
#include "testing/builders/samplerandom.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <memory>

struct sqlite3;

/// How a phone lived.
struct LifeOptions {
    IosVersion version = IosVersion::Ios8;
    quint64 seed = 1;
    int steps = 250; ///< each an insert, a change or a deletion
    int pageSize = 4096;
    int reserved = 0;   ///< bytes at the end of each page
    int autoVacuum = 0; ///< as the pragma has it: 0 none, 1 full, 2 incremental
    bool secureDelete = false;
    bool hasWal = false;    ///< the last quarter of the life stands in the write-ahead log alone
    IosVersion bornAs = {}; ///< the generation that the first rows were written by; {} for `version`
};

/// One message in each state that it ever had, and what became of it.
struct LivedMessage {
    struct State {
        QString text;
        qint64 date = 0;   ///< as stored
        QByteArray record; ///< as SQLite writes it: header and values
    };

    QList<State> states;
    QString address;
    bool isDeleted = false;
};

/// Writes a phone's message database with real SQLite and keeps account of everything that was ever in it:
/// messages come, change and go by the hundred, one by one and as whole conversations.
class RandomLife
{
public:
    /// Writes to `filePath`. Throws std::runtime_error.
    RandomLife(const QString &filePath, const LifeOptions &lifeOptions);
    ~RandomLife();
    Q_DISABLE_COPY_MOVE(RandomLife)

    /// By the number in their texts, see `numberIn`.
    const QHash<int, LivedMessage> &messages() const { return lived; }
    /// The number of the message that `bytes` are of, in UTF-8; -1 where they have none.
    static int numberIn(QByteArrayView bytes);
    /// Numbers of deleted messages of which some state is there in the files to the last byte.
    QList<int> surviving() const;

private:
    struct Conversation {
        qint64 handle = 0;
        qint64 chat = 0;
        QString address;
        QList<int> numbers; ///< of its messages
    };

    void open(const LifeOptions &settings);
    void createTables();
    void upgradeTables();
    void live(int steps);
    void step();
    void addConversation();
    void insert(Conversation &conversation);
    void insertIos5(const Conversation &conversation, const QString &text);
    void insertIos6(const Conversation &conversation, const QString &text);
    void change(int number);
    void remove(Conversation &conversation, qsizetype place);
    void removeConversation(qsizetype place);
    void noteState(int number);
    QString newText(int number);
    void run(const QByteArray &sql);
    bool isAt(const QByteArray &files, qsizetype start, const QByteArray &record) const;

    struct Closer {
        void operator()(sqlite3 *database) const noexcept;
    };

    QString path;
    LifeOptions options;
    SampleRandom random;
    std::unique_ptr<sqlite3, Closer> database;
    QList<Conversation> conversations;
    QHash<int, LivedMessage> lived;
    QHash<int, qint64> rowids;
    int lastNumber = 0;
    qint64 now = 400'000'000; ///< seconds since 2001
};
