/* SPDX-License-Identifier: Apache-2.0 */
/* A host in C: c_host URL QUESTION, against the stand-in or any server of the OpenAI format. It keeps the conversation
 * itself and asks twice. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zeac/zea_c.h>

enum { LONGEST = 16 };

typedef struct {
  char* document;
  char* texts[LONGEST];
  int32_t roles[LONGEST];
  int count;
} Memory;

static zeac_text text(const char* bytes) {
  zeac_text result;
  result.data = bytes;
  result.size = bytes == NULL ? 0 : strlen(bytes);
  return result;
}

static char* copy(zeac_text source) {
  char* bytes = malloc(source.size + 1);
  if (bytes == NULL) return NULL;
  if (source.size > 0) memcpy(bytes, source.data, source.size);
  bytes[source.size] = '\0';
  return bytes;
}

static int32_t set_document(void* context, zeac_text document) {
  Memory* memory = context;
  free(memory->document);
  memory->document = copy(document);
  return memory->document == NULL;
}

static int32_t get_document(void* context, zeac_sink* sink) {
  const Memory* memory = context;
  return zeac_sink_text(sink, text(memory->document));
}

static int32_t add_entry(void* context, int32_t role, zeac_text entry) {
  Memory* memory = context;
  if (memory->count == LONGEST) return 1;
  memory->roles[memory->count] = role;
  memory->texts[memory->count] = copy(entry);
  return memory->texts[memory->count++] == NULL;
}

static int32_t get_entries(void* context, int32_t limit, zeac_sink* sink) {
  const Memory* memory = context;
  int at = limit > 0 && limit < memory->count ? memory->count - limit : 0;
  for (; at < memory->count; ++at) {
    if (zeac_sink_entry(sink, memory->roles[at], text(memory->texts[at])) != ZEAC_OK) return 1;
  }
  return 0;
}

static int tell(zeac_string* sentence) {
  fprintf(stderr, "%s\n", zeac_string_text(sentence).data);
  zeac_string_free(sentence);
  return 1;
}

static int ask(zeac_assistant* assistant, const char* question) {
  zeac_string* reply = NULL;
  zeac_string* sentence = NULL;
  if (zeac_assistant_ask(assistant, text(question), &reply, &sentence) != ZEAC_OK) return tell(sentence);
  printf("%s\n", zeac_string_text(reply).data);
  zeac_string_free(reply);
  return 0;
}

int main(int argc, char** argv) {
  Memory memory;
  zeac_memory_functions functions = {sizeof functions, NULL, set_document, get_document, add_entry, get_entries};
  zeac_assistant_options options;
  zeac_memory* handle = NULL;
  zeac_assistant* assistant = NULL;
  zeac_string* sentence = NULL;
  int code = 1;
  if (argc != 3) return 2;
  memset(&memory, 0, sizeof memory);
  functions.context = &memory;
  if (zeac_memory_create(&functions, &handle) != ZEAC_OK) return 1;
  memset(&options, 0, sizeof options);
  options.record_size = sizeof options;
  options.provider = ZEAC_OPENAI;
  options.key = text(getenv("OPENAI_API_KEY"));
  options.host = text(argv[1]);
  options.memory = handle;
  if (zeac_assistant_create(&options, &assistant, &sentence) != ZEAC_OK ||
      zeac_assistant_set_text(assistant, text("model"), text("standin-large"), &sentence) != ZEAC_OK ||
      zeac_assistant_set_text(assistant, text("db_structure"),
                              text("[{\"schemas\":[{\"tables\":[{\"name\":\"orders\",\"fields\":["
                                   "{\"name\":\"id\",\"type\":\"INTEGER\"}],\"pkeys\":[\"id\"]}]}]}]"),
                              &sentence) != ZEAC_OK) {
    tell(sentence);
  } else {
    code = ask(assistant, argv[2]) != 0 || ask(assistant, "And the oldest ones?") != 0;
  }
  zeac_assistant_free(assistant);
  zeac_memory_free(handle);
  while (memory.count > 0) free(memory.texts[--memory.count]);
  free(memory.document);
  return code;
}
