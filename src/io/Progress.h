#pragma once

namespace KX {

// Told how far an operation has come. Owned by the caller, who may pass null wherever one is taken. Called in the
// thread that called the operation.
class CProgress {
public:
    virtual ~CProgress() = default;

    // A fraction between 0 and 1.
    virtual void Report(float fraction) = 0;
    // The operation has ended, well or not; the load of a data section tells so as well as the load around it. Must not
    // throw.
    virtual void Finish() = 0;

protected:
    CProgress() = default;
    CProgress(const CProgress&) = default;
    CProgress& operator=(const CProgress&) = default;
};

}  // namespace KX
