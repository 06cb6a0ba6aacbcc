/// How much of the machine's memory the process holds.
///
/// From its start on, no part of it is made of huge pages: the kernel would give them to thread stacks, two megabytes
/// for a few kilobytes, to more or fewer of them in each run. All threads share one heap.
#pragma once

/// Gives the pages of the program's and its libraries' files back that only starting has needed: symbols, relocations,
/// what runs once. They stay in the kernel's cache as long as nobody else needs the room, and a page that is needed
/// again comes back by itself. Any thread, any time.
void GiveBackFilePages();
