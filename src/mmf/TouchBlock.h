#pragma once

class CMmfManager;

// New blocks up to this size are mapped whole to touch them, larger ones in windows of it.
inline constexpr unsigned long kTouchWindow = 0x1000000;

// Maps a large new block once, window by window, as its pages are known to be there by those who got it.
void TouchInWindows(CMmfManager& store, unsigned int handle, unsigned long size);
