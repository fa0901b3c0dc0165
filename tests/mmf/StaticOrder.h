#pragma once

// An object that takes a block when it is built and gives it back when it is destroyed; it aborts where it cannot.
class CEarlyUser {
public:
    CEarlyUser();
    ~CEarlyUser();

    unsigned int handle = 0;
};

bool HoldsItsBlock(const CEarlyUser& user);

// Makes a block with a backing file and never frees it.
bool LeaveALargeBlock();

// Whether the first store's folder has a file in it.
bool HasBackingFile();
