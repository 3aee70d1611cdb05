#pragma once

#include <cstddef>
#include <cstdint>

/** Contract of the closed library that connects a process to a kernel BPF data channel. */
extern "C" {

/** Called on a thread of the library for each record. `record` is valid during the call. */
typedef void (*zbpf_data_callback)(int dispatch_flag, short data_type, char* record);
/** Called on a thread of the library when the channel is disconnected. */
typedef void (*zbpf_disconnect_callback)();

/** A connection request; the library copies it. */
struct zbpf_connect_request {
    char path[1024];   // of the BPF program, NUL-terminated
    int32_t option_a;  // 1; the meaning is not published
    int32_t option_b;  // 1; the meaning is not published
    char name[11];     // of the client, NUL-terminated
    char padding[5];
    zbpf_data_callback on_data;
    zbpf_disconnect_callback on_disconnect;
};

/** The lowest bit tells whether the channel is enabled on this build. */
int zbpf_is_enable();
/** Non-zero when the kernel has type information (BTF). */
int zbpf_btf_support();
/** 1 when the device's region is supported. */
int zbpf_region_support();
/** Connects; returns a descriptor, negative on failure. */
int zbpf_connect_start(zbpf_connect_request* request);
/** Ends the client's connection `fd`; harmless with a negative one. */
int zbpf_connect_exit(int fd, const char* name);
}

static_assert(sizeof(zbpf_connect_request) == 1064);
static_assert(offsetof(zbpf_connect_request, option_a) == 1024);
static_assert(offsetof(zbpf_connect_request, name) == 1032);
static_assert(offsetof(zbpf_connect_request, on_data) == 1048);
