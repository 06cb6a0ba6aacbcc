/// The journal, for a service whose standard error is connected to it.
#pragma once

#include <sys/stat.h>

#include <cstddef>

/// True when setting, the value of JOURNAL_STREAM ("device:inode", or null), names the very file of status.
/// A process that has redirected its standard error keeps the variable, hence the comparison.
bool IsJournalStream(const char* setting, const struct stat& status);

/// Loads the journal's client library; false where it is not installed. Not thread-safe: once, before JournalSend.
bool OpenJournal();

/// One entry with the fields PRIORITY, SYSLOG_IDENTIFIER, QUORVEX_BUFFER and MESSAGE. After OpenJournal; any thread.
/// False when the journal took none.
bool JournalSend(int priority, const char* tag, const char* buffer, const char* text, size_t length);
