#pragma once

// The views that embed the pill controls and tie them to state owned elsewhere.
// Each wrapper is a value rebuilt on every refresh of its owner; its View is made
// once and takes each new value in update(). What a control reads only at
// creation stays as it was made: update() changes only the pill text, the button
// title, the action and the selected segment.
#include "controls/Binding.h"
#include "controls/VLDropdown.h"
#include "controls/VLPillButton.h"
#include "controls/VLSegmented.h"
