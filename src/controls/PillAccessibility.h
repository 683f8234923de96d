#pragma once

namespace veilora {

// What assistive technology learns about the pill controls. Qt's own button
// interface would read the pill's empty button text and would not know the
// segments at all, so the pill reports the choice its label shows, and the
// segmented control reports one selectable tab per segment, named by its
// tooltip. (The pill button's title is its button text, so Qt's own interface
// serves it.)
namespace PillAccessibility {

// Registers the interfaces with Qt; the controls call it, and only the first
// call does anything.
void install();

} // namespace PillAccessibility

} // namespace veilora
