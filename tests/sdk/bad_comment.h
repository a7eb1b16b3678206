#pragma once

/// Adds nothing.
///
/// \param missing  no parameter has this name
int addNothing(int number);
