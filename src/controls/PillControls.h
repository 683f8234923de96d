#pragma once

// The pill-shaped controls of the settings and enrollment views, and their theme.
#include "controls/CapsuleSegmentedControl.h"
#include "controls/PillButton.h"
#include "controls/PillTheme.h"
#include "controls/PulldownPill.h"
