/// The looks at this machine: each is one section of the report.
///
/// Nothing is changed: pads are opened for reading and never grabbed, no program is started but the service's own look
/// into the catalogue of applications.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "caught.h"
#include "finding.h"
#include "service_keys.h"

namespace doctor {

Section LookAtKeys(const std::string& uinput, Notes& notes);

/// Also the nodes' readers. Opens the platform's gamepad library for the time of the look.
Report LookAtPads(const ServiceKeys& keys, Notes& notes);

/// Who but this process holds one of these files open.
Section LookAtReaders(const std::vector<std::string>& nodes, Notes& notes);

/// The bus, games, focus, screensaver and standby; takes some seconds where one of them does not answer.
Report LookAtSession(Notes& notes);

Section LookAtSettings(Notes& notes);

/// The titles that the bindings name are looked up in the store.
Report LookAtBindings(Notes& notes);

/// journal: a directory of journal files; empty: this machine's.
Section LookAtService(const std::string& journal = "");

}  // namespace doctor
