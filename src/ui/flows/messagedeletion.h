#pragma once

class MessagePane;
class QWidget;
class SourcePane;

// Deleting from a Local Database, after asking. What is selected elsewhere stays as it is. All throw
// `std::runtime_error`; what the job says of itself, its dialog has shown.

/// The rows selected in the list, from the database that they were read from.
void deleteSelectedMessages(SourcePane &sources, MessagePane &messages, QWidget *window);
/// The conversation selected in the tree.
void deleteConversation(SourcePane &sources, MessagePane &messages, QWidget *window);
/// The whole Local Database selected in the tree, with its files.
void deleteDatabase(SourcePane &sources);
