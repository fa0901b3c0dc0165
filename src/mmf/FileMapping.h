#pragma once

// Maps [offset, offset + length) of an open file into memory: shared, for reading, writing and executing; without
// executing where the file system refuses that (one that is mounted noexec). An executable mapping is advised for
// sequential use. Offset and length are in bytes, and the offset must lie on a page boundary. Returns the address, to
// be given back by UnmapFile, or MAP_FAILED with the reason in errno.
unsigned char* MapFile(int descriptor, unsigned long length, unsigned long offset);

// Gives a mapping back. Nothing happens for null and for MAP_FAILED.
void UnmapFile(void* address, unsigned long length);
