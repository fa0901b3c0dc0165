#pragma once

// Lets the C library find the text locale that the build has compiled. Before the first conversion, in one thread.
void UseTextLocaleOfTheBuild();
