#pragma once

#include <rapidcheck.h>
#include <rapidcheck/gen/Arbitrary.h>

#include "scenario.h"

/// Lives of the service: longer ones for larger sizes; smaller ones when they are shrunk.
rc::Gen<Scenario> AnyScenario();
