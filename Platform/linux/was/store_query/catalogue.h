/// The applications that can be installed, as AppStream's catalogues have them.
#pragma once

#include <string>

#include "title.h"

/// The id of an application with this name, untranslated or else in the user's language: of its desktop entry
/// ("org.example.Game.desktop") where the catalogue tells it, otherwise the component's. Empty: there is none.
/// Throws std::runtime_error when the catalogues cannot be read; a broken file of a catalogue is left out.
std::string CatalogueEntry(const Title& title);
