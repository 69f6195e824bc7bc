/* SPDX-License-Identifier: Apache-2.0 */
/* libzea for C and for what calls C: an assistant, its memory, its settings. C99. zea_c_kit.h has the rest.
 *
 * Texts are bytes with their length, meant to be UTF-8. Those that are handed in are borrowed until the call returns;
 * of a null `data` the size counts as 0. Those that are handed out are `zeac_string`s, which the caller owns and frees
 * with `zeac_string_free`.
 *
 * What can fail returns one of the codes below. `sentence`, where it is taken, may be null; otherwise it receives a
 * text for the user, or null with `ZEAC_OK`. Other results are set with `ZEAC_OK` only, and null otherwise. No
 * exception ever leaves. A null handle is refused with `ZEAC_BAD_ARGUMENT`; one that has been freed is the caller's
 * error. The functions that free take null.
 *
 * Threads: one at a time may use an assistant and its memory; different assistants are independent.
 *
 * Records begin with `record_size`, for which the caller writes sizeof of the record: a later version of this library
 * knows by it which members the caller has.
 */
#ifndef ZEAC_ZEA_C_H
#define ZEAC_ZEA_C_H

#include <stddef.h>
#include <stdint.h>

#ifdef _WIN32
#define ZEAC_API
#else
#define ZEAC_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

enum {
  ZEAC_OK = 0,
  ZEAC_FAILED = 1,       /* the sentence says why: a provider, the network, a database */
  ZEAC_BAD_ARGUMENT = 2, /* a null handle, a number that means nothing, a record of no known size */
  ZEAC_NO_MEMORY = 3,
  ZEAC_HOST_FAILED = 4, /* a function of the host's said so */
  ZEAC_UNAVAILABLE = 5, /* built without what it needs */
  ZEAC_END = 6          /* past the last one */
};

/* The providers, in the numbers of the C++ interface. */
enum {
  ZEAC_OPENAI = 0,
  ZEAC_GOOGLE = 1,
  ZEAC_DEEPSEEK = 2,
  ZEAC_OLLAMA = 3,
  ZEAC_X = 4,
  ZEAC_ANTHROPIC = 5,
  ZEAC_ALIBABA = 6,
  ZEAC_BYTEDANCE = 7,
  ZEAC_MOONSHOT = 8
};

enum { ZEAC_ROLE_USER = 0, ZEAC_ROLE_ASSISTANT = 1 };

typedef struct zeac_text {
  const char* data;
  size_t size;
} zeac_text;

typedef struct zeac_string zeac_string;
typedef struct zeac_strings zeac_strings;
typedef struct zeac_cancel zeac_cancel;
typedef struct zeac_memory zeac_memory;
typedef struct zeac_sink zeac_sink;
typedef struct zeac_assistant zeac_assistant;

/* The library's version: major * 65536 + minor * 256 + patch, and as a text. Any thread. */
ZEAC_API uint32_t zeac_version(void);
ZEAC_API const char* zeac_version_text(void);

/* The bytes of a string, with a NUL after the last one, which does not count. Good until it is freed. Of null: empty.
 */
ZEAC_API zeac_text zeac_string_text(const zeac_string* string);
ZEAC_API void zeac_string_free(zeac_string* string);

/* A list of texts, which are good until it is freed. Past its end, and of null: an empty text. */
ZEAC_API size_t zeac_strings_count(const zeac_strings* strings);
ZEAC_API zeac_text zeac_strings_at(const zeac_strings* strings, size_t index);
ZEAC_API void zeac_strings_free(zeac_strings* strings);

/* Ends the questions of the assistants that were made with it. `zeac_cancel_now` may be called from any thread and from
 * a signal handler; without a running question it does nothing. May be freed before its assistants. */
ZEAC_API int32_t zeac_cancel_create(zeac_cancel** cancel);
ZEAC_API void zeac_cancel_now(zeac_cancel* cancel);
ZEAC_API void zeac_cancel_free(zeac_cancel* cancel);

/* A conversation that the host keeps. Each function is called on the thread that uses the assistant and must not use
 * it. A result other than 0 ends the operation with `ZEAC_HOST_FAILED`. */
typedef struct zeac_memory_functions {
  size_t record_size;
  void* context; /* handed to each function */
  int32_t (*set_structure_document)(void* context, zeac_text document);
  /* Calls `zeac_sink_text` once, or not at all for none. */
  int32_t (*structure_document)(void* context, zeac_sink* sink);
  int32_t (*add_entry)(void* context, int32_t role, zeac_text text);
  /* Calls `zeac_sink_entry` for each of the latest `limit` turns, the oldest first; for all with 0 or below. */
  int32_t (*entries)(void* context, int32_t limit, zeac_sink* sink);
} zeac_memory_functions;

/* Copies the record, in which no function may be null. The memory outlives the assistants that use it. */
ZEAC_API int32_t zeac_memory_create(const zeac_memory_functions* functions, zeac_memory** memory);
ZEAC_API void zeac_memory_free(zeac_memory* memory);
/* For a memory's functions only. The text is copied. */
ZEAC_API int32_t zeac_sink_text(zeac_sink* sink, zeac_text text);
ZEAC_API int32_t zeac_sink_entry(zeac_sink* sink, int32_t role, zeac_text text);

typedef struct zeac_assistant_options {
  size_t record_size;
  uint32_t provider;
  zeac_text key;
  zeac_text host;      /* a host, or a base URL with http or https; empty: the provider's own */
  zeac_memory* memory; /* not owned; null: the assistant has one of its own */
  zeac_cancel* cancel; /* null: nobody cancels */
} zeac_assistant_options;

ZEAC_API int32_t zeac_assistant_create(const zeac_assistant_options* options, zeac_assistant** assistant,
                                       zeac_string** sentence);
ZEAC_API void zeac_assistant_free(zeac_assistant* assistant);

/* Properties by their names, such as "model", "db_structure", "user_instructions" (texts), "use_temperature",
 * "max_tokens" (integers), "temperature" (a number). What the library does not accept is `ZEAC_FAILED`. */
ZEAC_API int32_t zeac_assistant_set_text(zeac_assistant* assistant, zeac_text name, zeac_text value,
                                         zeac_string** sentence);
ZEAC_API int32_t zeac_assistant_set_integer(zeac_assistant* assistant, zeac_text name, int32_t value,
                                            zeac_string** sentence);
ZEAC_API int32_t zeac_assistant_set_number(zeac_assistant* assistant, zeac_text name, double value,
                                           zeac_string** sentence);
/* One of "system_instructions"; the others stay. */
ZEAC_API int32_t zeac_assistant_set_instruction(zeac_assistant* assistant, zeac_text name, zeac_text text,
                                                zeac_string** sentence);
/* A property as a text; empty where it is none or not set. */
ZEAC_API int32_t zeac_assistant_text(zeac_assistant* assistant, zeac_text name, zeac_string** value,
                                     zeac_string** sentence);
/* The URL of the provider's chat operation, for a host to show. */
ZEAC_API int32_t zeac_assistant_endpoint(zeac_assistant* assistant, zeac_string** url, zeac_string** sentence);

/* Sends a question and blocks until the provider has answered. One that fails leaves no trace. The sentence may hold
 * the key, where a server repeats it: `zeac_mask_secret` before it is shown. */
ZEAC_API int32_t zeac_assistant_ask(zeac_assistant* assistant, zeac_text question, zeac_string** reply,
                                    zeac_string** sentence);
ZEAC_API int32_t zeac_assistant_models(zeac_assistant* assistant, zeac_strings** models, zeac_string** sentence);
/* How the last request ended: 0 well, from 100 on an HTTP status, between them what became of the connection, in the
 * numbers of CMRestCode. Of null: 0. */
ZEAC_API int32_t zeac_assistant_last_status(const zeac_assistant* assistant);

/* The settings of all requests of the process, from the next one on; not while one is running. Of a number that is 0
 * the usual one counts, but for `has_no_time_limit`. */
typedef struct zeac_http_settings {
  size_t record_size;
  int64_t connect_timeout_ms;
  int64_t request_timeout_ms;
  int32_t has_no_time_limit; /* other than 0: requests may take for ever */
  uint64_t max_response_bytes;
  zeac_text proxy_url; /* empty: direct */
  zeac_text proxy_bypass;
  zeac_text ca_file; /* PEM; empty: the system's certificates */
  zeac_text user_agent;
} zeac_http_settings;
ZEAC_API int32_t zeac_set_http_settings(const zeac_http_settings* settings);

/* Translates the library's own texts: writes a text with its NUL into `translated` and returns other than 0, or returns
 * 0 to decline. Called on the thread of the failing operation; `context` is good as long as it is set. Null removes it.
 * To be set while no request is running. */
typedef int32_t (*zeac_localizer)(void* context, const char* english, char* translated, size_t capacity);
ZEAC_API void zeac_set_localizer(zeac_localizer localizer, void* context);

/* The text with each place masked at which the secret stands, as it is or percent-encoded. Any thread. */
ZEAC_API int32_t zeac_mask_secret(zeac_text text, zeac_text secret, zeac_string** masked);

#ifdef __cplusplus
}
#endif
#endif
