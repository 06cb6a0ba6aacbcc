/// The installed applications, as their desktop entries have them.
#pragma once

#include <string>

#include "title.h"

/// The id ("org.example.Game.desktop") of an installed application with this name, untranslated or in the user's
/// language; of several one that menus show, then one whose untranslated name it is, then the first id. Empty: there is
/// none. An entry that is deleted ("Hidden") or whose program is missing is not installed.
std::string InstalledEntry(const Title& title);

/// Whether there is an installed application with this id.
bool IsInstalled(const std::string& id);
