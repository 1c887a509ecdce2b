/*
 * Recording reader: the plug-in that turns the bytes of a recording (a file, a stream) into packages. Entry symbols:
 * plugin.h, kind recording_reader; library type "recording-reader". Hosts use it, the extractor does not:
 * <tavi/recording.hpp> is the C++ side of this header, <qor_plugin_sdk/recording_reader.hpp> a base for plug-ins.
 *
 * The life of a recording:
 *
 *  1. The host creates an instance of each reader and asks every format to `recognise` the first bytes of the input.
 *  2. It opens the recording with the surest format, on a stream of its own.
 *  3. It calls `next_batch` until a batch is the last one, and takes packages and faults in the order of the recording.
 *  4. It reads `get_sources`, `get_properties` and `get_other_records`, after any batch or at the end.
 *  5. It closes the recording, and destroys the instance when all its recordings are closed.
 *
 * Conventions:
 *
 *  - Functions take the plug-in's handle first. Details decide whether a call failed.
 *  - A damaged recording is not a failed call: what cannot be read is a fault in a batch, and reading goes on where the
 *    next whole record begins. A call fails for an argument, for what the stream reports, and for want of memory. Its
 *    text may have a second line: what a user may do.
 *  - Nothing is dropped in silence: every byte of the recording is a package, a fault, or a record of a kind that
 *    `get_other_records` counts.
 *  - Texts are UTF-8, zero-terminated where no size is given.
 *  - Thread: one recording is used by one thread at a time; different recordings of one instance may be used by
 *    different threads at the same time.
 */
#ifndef QORC_EXTENSIBILITY_RECORDING_READER_H
#define QORC_EXTENSIBILITY_RECORDING_READER_H

#include <stddef.h>
#include <stdint.h>

#include "qorc/extensibility/plugin.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Formats ---------------------------------------------------------------------------------------------------- */

/* One format that a reader reads. All texts are valid as long as the plug-in is loaded. */
typedef struct qor_recording_format_t {
    /* One word in lower case, such as "asc": what a user writes to choose the format. Unique among all formats. */
    const char* name;
    /* A few words for lists and messages, such as "ASC text log". */
    const char* description;
    /* Suffixes of file names without point, separated by blanks: "log txt". Hints only; may be empty. */
    const char* suffixes;
} qor_recording_format_t;

/* Answers of `recognise`: certainties from 1 to 100, or one of these. */
#define QOR_RECORDING_IS_OTHER 0
/* More bytes could decide. The host asks again with more of them, at most QOR_RECORDING_BEGINNING. */
#define QOR_RECORDING_NEEDS_MORE (-1)
/* A signature that no other format has, such as the first bytes "LOGG". */
#define QOR_RECORDING_IS_CERTAIN 100
/*
 * Lower certainties are guesses: that a line further down looks like one of the format, or that nothing contradicts it.
 * A host that knows the bytes as another kind of file, such as a description, then says so instead.
 */
#define QOR_RECORDING_IS_LIKELY 50
/* Nothing was found that is of the format: what a damaged recording of it may look like. */
#define QOR_RECORDING_IS_POSSIBLE 1

/* The most bytes of the beginning of a recording that a host shows to `recognise`. */
#define QOR_RECORDING_BEGINNING 65536

/* Service "qor_recording_format_support_t", mandatory. */
typedef struct qor_recording_format_support_t {
    size_t (*get_format_count)(void* handle);
    uint32_t (*get_format)(void* handle, size_t index, qor_recording_format_t* format, qor_error_details_t** error);
    /*
     * How sure it is that a recording that begins with `size` bytes at `data` is of that format.
     *
     * is_whole   nothing follows these bytes: QOR_RECORDING_NEEDS_MORE then counts as QOR_RECORDING_IS_OTHER
     * certainty  receives the answer
     *
     * Thread: any.
     */
    uint32_t (*recognise)(void* handle, size_t index, const uint8_t* data, size_t size, bool is_whole,
                          int32_t* certainty, qor_error_details_t** error);
} qor_recording_format_support_t;

/* ---- The input -------------------------------------------------------------------------------------------------- */

/* The bytes of a recording, from the host. Already decompressed. Valid until the recording is closed. */
typedef struct qor_recording_stream_t {
    /*
     * Fills up to `room` bytes at `buffer`; waits until there is at least one.
     *
     * count  receives the number of bytes, 0 only at the end
     */
    uint32_t (*read)(void* context, void* buffer, size_t room, size_t* count, qor_error_details_t** error);
    /* Moves to a byte offset from the beginning. Null where the input cannot be sought: a pipe, a compressed file. */
    uint32_t (*seek)(void* context, uint64_t offset, qor_error_details_t** error);
    /* Bytes of the whole input. Null where that is not known. */
    uint32_t (*get_size)(void* context, uint64_t* size, qor_error_details_t** error);
    void* context;
} qor_recording_stream_t;

/* ---- What a recording holds ------------------------------------------------------------------------------------- */

/* Kinds of source. */
#define QOR_RECORDED_OTHER 0
#define QOR_RECORDED_CAN_CHANNEL 1
#define QOR_RECORDED_RECEIVER 2 /* of satellites */
#define QOR_RECORDED_MEMORY 3   /* of a control unit */

/* A producer of packages in the recording. */
typedef struct qor_recorded_source_t {
    /* As the recording calls it ("can0"); formats that number their channels give "can1" for channel 1. */
    const char* name;
    /* Format type specifier of its packages (package.h), such as "can". */
    const char* package_format;
    /* QOR_RECORDED_. */
    uint32_t kind;
    /* The source id by which it has to be registered, or 0 where that does not matter. */
    uint16_t source_id;
} qor_recorded_source_t;

/* Flags of a package. */
#define QOR_RECORDED_TRANSMITTED UINT32_C(1) /* sent by the recorder itself */
#define QOR_RECORDED_REMOTE UINT32_C(2)      /* a CAN remote frame: a request without data */
#define QOR_RECORDED_BUS_ERROR UINT32_C(4)   /* a CAN error frame: what the interface reports of the bus */
#define QOR_RECORDED_UNENDED UINT32_C(8)     /* the last record of a text, without line end: more may have followed */

/* The number of decimals of a package without time. */
#define QOR_RECORDED_WITHOUT_TIME 255

/* One package. What it points to is valid until the next call for its recording. */
typedef struct qor_recorded_package_t {
    /* Nanoseconds since 1970-01-01 UTC or since the beginning of the recording, see qor_recording_properties_t. */
    int64_t time;
    /* For CAN the id with the flag bits of the payload (qorcpp/can_frame.hpp), for memory the address, else 0. */
    uint64_t address;
    /* The payload as package.h has it for the package format of its source. */
    const uint8_t* payload;
    uint64_t payload_size;
    /* Line number from 1 in a text, else byte offset of its record in the (decompressed) recording. */
    uint64_t place;
    /* The record's own text, a line without its end, `text_size` bytes; null in binary recordings. */
    const char* text;
    /*
     * The time as the recording writes it, in seconds without leading zeros, `time_text_size` bytes. Null where it
     * follows from `time` and `time_decimals`. Takes precedence over `time`, which saturates for times that it cannot
     * hold.
     */
    const char* time_text;
    uint32_t text_size;
    /* Index among get_sources. */
    uint32_t source;
    /* QOR_RECORDED_ bits. */
    uint32_t flags;
    uint16_t time_text_size;
    /* How many decimals of the second the recording has: 0 to 9, or QOR_RECORDED_WITHOUT_TIME. */
    uint8_t time_decimals;
    /*
     * How many bytes before `payload` belong to the package and may be overwritten by the host. With 63 or more it
     * makes the qor_package_t of a large payload in place instead of a copy.
     */
    uint8_t headroom;
} qor_recorded_package_t;

/* A place of the recording that could not be read. What it points to is valid as long as the batch. */
typedef struct qor_recording_fault_t {
    /* Packages of the batch that come before it. */
    size_t package;
    /* As in qor_recorded_package_t. */
    uint64_t place;
    /* In a text the column in bytes from 1, 0 for a whole line. 0 in binary recordings. */
    uint64_t column;
    /* The line at fault without its end, `text_size` bytes; null in binary recordings. */
    const char* text;
    size_t text_size;
    /* What is wrong: "the data contain a character that is not a hexadecimal digit". */
    const char* cause;
    /* What was expected, or what a user may do; may be empty. */
    const char* hint;
    /* QOR_RECORDED_UNENDED or 0. */
    uint32_t flags;
} qor_recording_fault_t;

/* The next part of a recording. Both arrays are valid until the next call for the recording. */
typedef struct qor_recording_batch_t {
    const qor_recorded_package_t* packages;
    size_t package_count;
    /* Ascending by `package`. */
    const qor_recording_fault_t* faults;
    size_t fault_count;
    /* Nothing follows this batch. */
    bool is_last;
} qor_recording_batch_t;

/* What the times of packages count from. */
#define QOR_RECORDING_TIMES_ABSOLUTE 0 /* since 1970-01-01 UTC */
#define QOR_RECORDING_TIMES_RELATIVE 1 /* since the beginning of the recording, which has no date */
#define QOR_RECORDING_TIMES_NONE 2     /* the recording has no times */

/* Whether the recording is known to be whole. */
#define QOR_RECORDING_END_UNKNOWN 0      /* not read to its end, or a format that does not say, such as a text */
#define QOR_RECORDING_END_PROVEN 1       /* an end mark or a count in it agrees with what was read */
#define QOR_RECORDING_END_CONTRADICTED 2 /* an end mark is missing, or a count differs: told by a fault as well */

/* What `place` of packages and faults counts. */
#define QOR_RECORDING_PLACES_BYTES 0
#define QOR_RECORDING_PLACES_LINES 1

/* The value of a count that the recording does not have. */
#define QOR_RECORDING_UNCOUNTED UINT64_MAX

/* What is known of a recording; more may be known after each batch. */
typedef struct qor_recording_properties_t {
    /* Version of the format as the recording has it, such as "2.1"; empty when it has none. Valid as the recording. */
    const char* version;
    /* The program that made it, as the recording has it; may be empty. Valid as the recording. */
    const char* producer;
    /* Beginning of the recording, nanoseconds since 1970-01-01 UTC; meaningless without `has_start`. */
    int64_t start;
    /* Packages that the recording itself announces, or QOR_RECORDING_UNCOUNTED. */
    uint64_t announced_packages;
    /* QOR_RECORDING_TIMES_. */
    uint32_t times;
    /* QOR_RECORDING_END_. */
    uint32_t end;
    /* How far the reading came: the number of the last line, or a byte offset; 0 when that is not known. */
    uint64_t place;
    /* QOR_RECORDING_PLACES_. */
    uint32_t places;
    bool has_start;
} qor_recording_properties_t;

/* Records of the recording that are not packages, by kind: "LIN frame", "statistics", "comment". */
typedef struct qor_other_records_t {
    const char* kind;
    uint64_t count;
} qor_other_records_t;

/*
 * Service "qor_recording_reader_support_t", mandatory.
 */
typedef struct qor_recording_reader_support_t {
    /*
     * Opens the recording on a stream that is at its beginning.
     *
     * format     index of the format
     * options    "key=value" separated by commas, or null; which keys there are is the format's matter, unknown ones
     *            fail the call
     * recording  receives it
     *
     * Reads as much as it needs to refuse what is not of the format. Details: QOR_STATUS_INVALID_ARGUMENT for options;
     * else a sentence that says why the recording cannot be read at all.
     */
    uint32_t (*open)(void* handle, size_t format, const qor_recording_stream_t* stream, const char* options,
                     void** recording, qor_error_details_t** error);
    /* Must not fail. */
    void (*close)(void* handle, void* recording);
    /*
     * The next packages and faults.
     *
     * most  packages that the caller takes, at least 1
     *
     * What was read is delivered before the stream is read again, so that packages of a live stream are not held back:
     * a batch may hold fewer packages than `most`, also none. After the last batch every call gives an empty last one.
     */
    uint32_t (*next_batch)(void* handle, void* recording, size_t most, qor_recording_batch_t* batch,
                           qor_error_details_t** error);
    /*
     * The sources seen so far, in the order of their first packages; later batches add to the end. The array is valid
     * until the next batch, the texts until the recording is closed.
     */
    uint32_t (*get_sources)(void* handle, void* recording, const qor_recorded_source_t** sources, size_t* count,
                            qor_error_details_t** error);
    uint32_t (*get_properties)(void* handle, void* recording, qor_recording_properties_t* properties,
                               qor_error_details_t** error);
    /* Valid until the next call for the recording. */
    uint32_t (*get_other_records)(void* handle, void* recording, const qor_other_records_t** records, size_t* count,
                                  qor_error_details_t** error);
} qor_recording_reader_support_t;

/* ---- Optional services ------------------------------------------------------------------------------------------ */

/* Packages that a filter excluded. */
typedef struct qor_excluded_packages_t {
    /* As in qor_recorded_package_t. */
    uint64_t address;
    uint64_t count;
    uint32_t source;
    uint32_t flags;
} qor_excluded_packages_t;

/*
 * Service "qor_recording_filter_support_t", optional: for formats in which passing over a package costs less than
 * delivering it.
 */
typedef struct qor_recording_filter_support_t {
    /*
     * From the next batch on, packages that the expression excludes need not be delivered. They are checked as all
     * others: a damaged one is a fault.
     *
     * source      index of the source that the expression is for
     * expression  as qor_tavi_extractor_get_reader_filter_expression gives it: "(Address = 0xC8) OR (Address = 0xE0)";
     *             an empty one excludes all packages, null takes the filter back. SourceId and Instance in it are
     *             those of the source. `address` of a package is compared, with the flag bits that it has.
     */
    uint32_t (*set_filter)(void* handle, void* recording, size_t source, const char* expression,
                           qor_error_details_t** error);
    /* What was passed over since the recording was opened. Valid until the next call for the recording. */
    uint32_t (*get_excluded)(void* handle, void* recording, const qor_excluded_packages_t** excluded, size_t* count,
                             qor_error_details_t** error);
} qor_recording_filter_support_t;

/*
 * Records of a recording that can be split are shorter. Of a longer one the host hands over that many bytes as a chunk,
 * which the part reports as a fault, and leaves out the others.
 */
#define QOR_RECORDING_LONGEST_RECORD 262144

/*
 * Service "qor_recording_split_support_t", optional: for formats whose records can be read from any record on, so that
 * several threads read chunks of one recording. The host calls `begin_split` before the first batch, cuts the bytes
 * that follow into chunks of whole records by `find_end`, and reads each chunk through a part.
 */
typedef struct qor_recording_split_support_t {
    /*
     * Whether this recording can be split, and then the bytes that were read of the stream and are not read yet: the
     * first ones of the first chunk. The host reads all others. The recording gives no batches afterwards.
     *
     * can_split  receives the answer; false changes nothing
     * rest       valid until the recording is closed
     */
    uint32_t (*begin_split)(void* handle, void* recording, bool* can_split, const uint8_t** rest, size_t* rest_size,
                            qor_error_details_t** error);
    /*
     * How many bytes of `data`, which begins with a record or within one that is too long, are whole records: 0 when
     * the first one does not end in it. Thread: any.
     */
    uint32_t (*find_end)(void* handle, void* recording, const uint8_t* data, size_t size, size_t* whole,
                         qor_error_details_t** error);
    /*
     * A recording that reads chunks, one after the other, with what the beginning of the split recording says. Sources
     * are those of the part alone, places count from the beginning of each chunk. To be closed before the recording
     * that was split.
     */
    uint32_t (*open_part)(void* handle, void* recording, void** part, qor_error_details_t** error);
    /*
     * Gives the part another chunk; the last batch of the one before was taken. `data` has to stay until the last batch
     * of this one was taken and its packages are not needed any more.
     */
    uint32_t (*set_chunk)(void* handle, void* part, const uint8_t* data, size_t size, qor_error_details_t** error);
    /* Lines of a text, or bytes, that the part's chunk had: what places of the next chunk are moved by. */
    uint32_t (*get_extent)(void* handle, void* part, uint64_t* extent, qor_error_details_t** error);
} qor_recording_split_support_t;

#ifdef __cplusplus
}
#endif

#endif
