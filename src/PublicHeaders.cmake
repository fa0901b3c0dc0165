# What a user may include, and so what is installed: the interface, and the few headers that it includes itself. A new
# public header is added here; all_verify_interface_header_sets compiles each one alone.
add_library(kxmmf-headers INTERFACE)
add_library(KxMmf::headers ALIAS kxmmf-headers)
set_target_properties(kxmmf-headers PROPERTIES EXPORT_NAME headers)
target_compile_features(kxmmf-headers INTERFACE cxx_std_20)
target_link_libraries(kxmmf-headers INTERFACE Threads::Threads)  # mmf/CriticalSection.h locks
target_sources(kxmmf-headers INTERFACE FILE_SET HEADERS BASE_DIRS ${CMAKE_CURRENT_SOURCE_DIR} FILES
    KxApi.h
    io/ArrayList.h
    io/Buffer.h
    io/FileIo.h
    io/FileStream.h
    io/IoBuffer.h
    io/LittleEndian.h
    io/Map.h
    io/Md5.h
    io/MemoryIoBuffer.h
    io/Progress.h
    io/Result.h
    mmf/BlockHandle.h
    mmf/BlockIo.h
    mmf/BlockWindow.h
    mmf/CriticalSection.h
    mmf/FreeRunIndex.h
    mmf/IndependentMmf.h
    mmf/IndependentMmfIo.h
    mmf/Mmf.h
    mmf/MmfIo.h
    mmf/MmfManager.h
    mmf/MmfObj.h
    mmf/ShareMmfObj.h
    mmf/SmartMap.h
    mmf/StoreInitializer.h
    mmf/ThreadAnnotations.h
    mmf/UnsharedMmfObj.h
    stream/Base.h
    stream/ContainerFormat.h
    stream/HashIndex.h
    stream/IoStream.h
    stream/LinkIndex.h
    stream/LzmaInterFace.h
    stream/MemberLink.h
    stream/Pointer.h
    stream/ScopeGuard.h
    stream/Stream.h
    stream/StreamText.h
    string/Encoding.h
    string/Number.h
    string/Path.h
    string/Text.h
    system/File.h
    system/System.h)
