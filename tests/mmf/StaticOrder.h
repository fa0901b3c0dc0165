#pragma once

// An object that takes a block when it is built and gives it back when it is destroyed.
class CEarlyUser {
public:
    CEarlyUser();
    ~CEarlyUser();

    unsigned int handle = 0;
};
