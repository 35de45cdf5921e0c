/* The library for C and for every language that calls C.
 *
 *   sheaf_document* doc = NULL;
 *   if (sheaf_open("letter.pdf", NULL, &doc) != SHEAF_OK)
 *     complain(sheaf_last_error()->message);
 *   sheaf_page_rotate(doc, 0, 90);
 *   sheaf_save_update(doc);
 *   sheaf_close(doc);
 *
 * Functions give SHEAF_OK or why not; sheaf_last_error says more, for the thread that asks. All texts are UTF-8 and
 * end in a NUL. What a function makes through a pointer to a pointer is the caller's, and goes with the function that
 * its type names; every such function takes NULL. A document is used by one thread at a time, with all that came from
 * it. Structures begin with their size, which the caller sets to sizeof: later versions add members at the end. Values,
 * attachments, images and seals may be released before or after their document.
 */
#ifndef SHEAF_SHEAF_H
#define SHEAF_SHEAF_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum sheaf_code {
  SHEAF_OK = 0,
  SHEAF_NO_FILE = 1,   /* The file cannot be opened, read or made. */
  SHEAF_EMPTY = 2,     /* It has no bytes. */
  SHEAF_DAMAGED = 3,   /* No document could be found in it, or data cannot be decoded. */
  SHEAF_TOO_LARGE = 4, /* Larger than the library reads or writes. */
  SHEAF_NO_MEMORY = 5,
  SHEAF_NEEDS_PASSWORD = 6,
  SHEAF_WRONG_PASSWORD = 7,
  SHEAF_UNSUPPORTED = 8,     /* An encryption, a colour space or a filter that is not known. */
  SHEAF_NOT_FOUND = 9,       /* Nothing has that name or index. */
  SHEAF_WRONG_KIND = 10,     /* The value is of another kind. */
  SHEAF_STALE = 11,          /* Another operation changed the object since the value was asked for. */
  SHEAF_OTHER_DOCUMENT = 12, /* A value of another document. */
  SHEAF_NOT_ALLOWED = 13,    /* A signature, a certification or the field itself forbids it. */
  SHEAF_BAD_VALUE = 14,      /* The value cannot be set here, or an argument is NULL. */
  SHEAF_FILE_CHANGED = 15,   /* Another program changed the file. */
  SHEAF_NOT_WRITTEN = 16,    /* The output came short. */
  SHEAF_CANCELLED = 17,      /* The progress function said no. */
  SHEAF_CLOSED = 18          /* The document is closed. */
} sheaf_code;

typedef enum sheaf_kind {
  SHEAF_NULL = 0,
  SHEAF_BOOL = 1,
  SHEAF_INTEGER = 2,
  SHEAF_REAL = 3,
  SHEAF_STRING = 4,
  SHEAF_NAME = 5,
  SHEAF_ARRAY = 6,
  SHEAF_DICTIONARY = 7,
  SHEAF_STREAM = 9
} sheaf_kind;

typedef struct sheaf_document sheaf_document;
typedef struct sheaf_value sheaf_value;
typedef struct sheaf_data sheaf_data;
typedef struct sheaf_content sheaf_content;
typedef struct sheaf_writer sheaf_writer;
typedef struct sheaf_seal sheaf_seal;
typedef struct sheaf_images sheaf_images;

typedef struct sheaf_error {
  size_t size;
  sheaf_code code;
  int32_t object;      /* Number of the object concerned; 0: none is meant. */
  int64_t offset;      /* Byte of the file concerned; -1: none is meant. */
  const char* message; /* A sentence. Valid until the next call of this thread. */
} sheaf_error;

/* Not 0 goes on, 0 stops the operation. `total` is 0 when nobody knows. It must not use the document. */
typedef int (*sheaf_progress)(void* context, const char* what, double done, double total);

typedef struct sheaf_open_options {
  size_t size;
  const char* password;    /* NULL: none. */
  sheaf_progress progress; /* For opening and all that is done with the document; NULL: none. */
  void* progress_context;
} sheaf_open_options;

/* An application's own storage. The functions give counts of bytes; fewer than asked for is the end, or a failure. */
typedef struct sheaf_storage {
  size_t size;
  void* context;
  size_t (*read)(void* context, uint64_t offset, void* to, size_t count);
  uint64_t (*length)(void* context);
  size_t (*write)(void* context, uint64_t offset, const void* from, size_t count); /* NULL: nothing is written. */
} sheaf_storage;

typedef enum sheaf_cipher { SHEAF_AES256 = 0, SHEAF_AES128 = 1, SHEAF_RC4 = 2 } sheaf_cipher;

typedef enum sheaf_object_streams {
  SHEAF_OBJECT_STREAMS_PRESERVE = 0,
  SHEAF_OBJECT_STREAMS_GENERATE = 1,
  SHEAF_OBJECT_STREAMS_DISABLE = 2
} sheaf_object_streams;

typedef enum sheaf_stream_data {
  SHEAF_STREAMS_PRESERVE = 0,
  SHEAF_STREAMS_COMPRESS = 1,
  SHEAF_STREAMS_UNCOMPRESS = 2
} sheaf_stream_data;

typedef struct sheaf_save_options {
  size_t size;
  int encrypt;                /* Not 0: with the passwords below. 0: an encrypted document stays so, */
  int decrypt;                /* unless this is not 0. */
  const char* user_password;  /* NULL: none. */
  const char* owner_password; /* NULL: as the user's. */
  uint32_t permissions;       /* Bits of "P" (ISO 32000-2, table 22); 0 counts as all. */
  sheaf_cipher cipher;
  /* What a new file is to be like; 0 everywhere: as it is. */
  sheaf_object_streams object_streams;
  sheaf_stream_data streams;
  int recompress; /* 1 to 9: Flate is made anew where it comes out smaller; 10: slowly, and smaller still. */
  int linearize;
  int share_equals; /* Equal streams, fonts and the like are written once. */
  int remove_unused_resources;
  int renumber;            /* Objects are numbered without gaps. */
  const char* min_version; /* The least version of the file, such as "1.5"; NULL: none. */
} sheaf_save_options;

typedef struct sheaf_rect {
  double left, bottom, right, top;
} sheaf_rect;

typedef struct sheaf_signature_options {
  size_t size;
  int32_t page;
  int32_t room;      /* Bytes for the signature; 0: 8,192. */
  sheaf_rect rect;   /* Where the widget is; empty: nowhere to be seen. */
  const char* field; /* NULL in this and all below: not said, or chosen by the library. */
  const char* name;
  const char* reason;
  const char* location;
  const char* sub_filter; /* What the signature will be, as "SubFilter" names it. */
} sheaf_signature_options;

typedef struct sheaf_image_info {
  size_t size;
  int32_t object;
  int32_t width;
  int32_t height;
  int32_t bits;
  int32_t is_mask;
} sheaf_image_info;

typedef struct sheaf_heap {
  size_t size;
  void* context;
  void* (*alloc)(void* context, size_t count);
  void* (*realloc)(void* context, void* block, size_t count);
  void (*free)(void* context, void* block);
} sheaf_heap;

/* ---- the library ---- */

/* "0.1.0" */
const char* sheaf_version_text(void);
/* Why the last call of this thread failed; its code is SHEAF_OK when it did not. Never NULL. */
const sheaf_error* sheaf_last_error(void);
/* To be called before anything else; NULL brings the C library's heap back. */
sheaf_code sheaf_set_heap(const sheaf_heap* heap);

/* ---- documents ---- */

/* `options` may be NULL here and below. */
sheaf_code sheaf_open(const char* path, const sheaf_open_options* options, sheaf_document** out);
/* The bytes are borrowed until the document is closed. */
sheaf_code sheaf_open_memory(const void* bytes, size_t count, const sheaf_open_options* options, sheaf_document** out);
/* The structure is copied. */
sheaf_code sheaf_open_storage(const sheaf_storage* storage, const sheaf_open_options* options, sheaf_document** out);
sheaf_code sheaf_create(sheaf_document** out);
void sheaf_close(sheaf_document* doc);

sheaf_code sheaf_save_update(sheaf_document* doc);
sheaf_code sheaf_save_as(sheaf_document* doc, const char* path, const sheaf_save_options* options);
sheaf_code sheaf_save_storage(sheaf_document* doc, const sheaf_storage* target, const sheaf_save_options* options);
sheaf_code sheaf_save_memory(sheaf_document* doc, const sheaf_save_options* options, sheaf_data** out);

int32_t sheaf_is_encrypted(sheaf_document* doc);
int32_t sheaf_signature_count(sheaf_document* doc);
/* How many things were healed; each of them as "code: action (object N, offset M)". */
int32_t sheaf_repair_count(sheaf_document* doc);
sheaf_code sheaf_repair(sheaf_document* doc, int32_t index, sheaf_data** out);
/* `key` is "Title", "Author" and so on. A text that is not there is empty. */
sheaf_code sheaf_info(sheaf_document* doc, const char* key, sheaf_data** out);
sheaf_code sheaf_set_info(sheaf_document* doc, const char* key, const char* text);

/* ---- bytes ---- */

/* Borrowed; valid until the data are released. A NUL follows texts. */
const void* sheaf_data_bytes(const sheaf_data* data);
size_t sheaf_data_size(const sheaf_data* data);
void sheaf_data_free(sheaf_data* data);

/* ---- pages ---- */

int32_t sheaf_page_count(sheaf_document* doc);
sheaf_code sheaf_page(sheaf_document* doc, int32_t page, sheaf_value** out);
sheaf_code sheaf_page_media_box(sheaf_document* doc, int32_t page, sheaf_rect* out);
sheaf_code sheaf_page_crop_box(sheaf_document* doc, int32_t page, sheaf_rect* out);
int32_t sheaf_page_rotation(sheaf_document* doc, int32_t page);
sheaf_code sheaf_page_rotate(sheaf_document* doc, int32_t page, int32_t degrees);
/* Pages `first` up to, but not with, `end` of `from`; before page `at`, or at the end when `at` is -1. */
sheaf_code sheaf_pages_insert(sheaf_document* doc, int32_t at, sheaf_document* from, int32_t first, int32_t end);
sheaf_code sheaf_page_add(sheaf_document* doc, double width, double height);
sheaf_code sheaf_page_remove(sheaf_document* doc, int32_t page);
sheaf_code sheaf_page_move(sheaf_document* doc, int32_t from, int32_t to);
sheaf_code sheaf_page_resources(sheaf_document* doc, int32_t page, sheaf_value** out);
/* The name under which the page then has the resource. */
sheaf_code sheaf_page_add_resource(sheaf_document* doc, int32_t page, const char* category, const sheaf_value* resource,
                                   sheaf_data** out);

/* ---- content ---- */

sheaf_code sheaf_page_content(sheaf_document* doc, int32_t page, sheaf_content** out);
sheaf_code sheaf_page_set_content(sheaf_document* doc, int32_t page, const void* bytes, size_t count);
sheaf_code sheaf_page_add_content(sheaf_document* doc, int32_t page, const void* bytes, size_t count);
/* The operators of a stream's data, such as a form's. */
sheaf_code sheaf_value_content(const sheaf_value* stream, sheaf_content** out);
/* Goes to the next operator; 0 at the end. */
int32_t sheaf_content_next(sheaf_content* content);
/* The name of the operator; its operands; the whole of it, byte for byte. Borrowed; valid until the next step. */
const char* sheaf_content_name(const sheaf_content* content);
int32_t sheaf_content_size(const sheaf_content* content);
sheaf_kind sheaf_content_kind(const sheaf_content* content, int32_t operand);
double sheaf_content_number(const sheaf_content* content, int32_t operand);
const char* sheaf_content_bytes(const sheaf_content* content, int32_t operand, size_t* count);
const char* sheaf_content_source(const sheaf_content* content, size_t* count);
void sheaf_content_free(sheaf_content* content);

sheaf_code sheaf_writer_new(sheaf_writer** out);
/* The operator that `content` is at, or any text in the syntax of content. */
sheaf_code sheaf_writer_add(sheaf_writer* writer, const sheaf_content* content);
sheaf_code sheaf_writer_add_text(sheaf_writer* writer, const char* text);
sheaf_code sheaf_page_write(sheaf_document* doc, int32_t page, const sheaf_writer* writer);
void sheaf_writer_free(sheaf_writer* writer);

/* ---- values ---- */

sheaf_code sheaf_root(sheaf_document* doc, sheaf_value** out);
sheaf_code sheaf_object(sheaf_document* doc, int32_t number, sheaf_value** out);
int32_t sheaf_object_count(sheaf_document* doc);
/* A new object of that value in PDF syntax, such as "<</Type/Annot>>". */
sheaf_code sheaf_add(sheaf_document* doc, const char* syntax, sheaf_value** out);
void sheaf_value_free(sheaf_value* value);

sheaf_kind sheaf_value_kind(const sheaf_value* value);
int32_t sheaf_value_number(const sheaf_value* value);
/* Elements of an array, entries of a dictionary. */
int32_t sheaf_value_size(const sheaf_value* value);
/* The value of `key` or, where that is NULL, at `index`, references followed; a null value otherwise. */
sheaf_code sheaf_value_get(const sheaf_value* value, const char* key, int32_t index, sheaf_value** out);
/* Key number `index` of a dictionary. Borrowed; valid until the dictionary changes. NULL beyond the last key. */
const char* sheaf_value_key(const sheaf_value* value, int32_t index);
int32_t sheaf_value_bool(const sheaf_value* value);
int32_t sheaf_value_int(const sheaf_value* value);
double sheaf_value_real(const sheaf_value* value);
/* The bytes of a string, or a name. Borrowed; valid until the object changes. */
const char* sheaf_value_bytes(const sheaf_value* value, size_t* count);
sheaf_code sheaf_value_text(const sheaf_value* value, sheaf_data** out);
sheaf_code sheaf_value_print(const sheaf_value* value, sheaf_data** out);

/* Each stores under `key` or, where that is NULL, at `index` of an array, -1 being after the last element. A failure
 * is kept by the document, and its saves then refuse. */
sheaf_code sheaf_value_set_bool(sheaf_value* value, const char* key, int32_t index, int32_t flag);
sheaf_code sheaf_value_set_int(sheaf_value* value, const char* key, int32_t index, int64_t number);
sheaf_code sheaf_value_set_real(sheaf_value* value, const char* key, int32_t index, double number);
sheaf_code sheaf_value_set_name(sheaf_value* value, const char* key, int32_t index, const char* name);
sheaf_code sheaf_value_set_text(sheaf_value* value, const char* key, int32_t index, const char* text);
sheaf_code sheaf_value_set_bytes(sheaf_value* value, const char* key, int32_t index, const void* bytes, size_t count);
sheaf_code sheaf_value_set_syntax(sheaf_value* value, const char* key, int32_t index, const char* syntax);
/* An object by reference, any other value as a copy. */
sheaf_code sheaf_value_set_value(sheaf_value* value, const char* key, int32_t index, const sheaf_value* other);
sheaf_code sheaf_value_remove(sheaf_value* value, const char* key, int32_t index);

sheaf_code sheaf_value_decoded(const sheaf_value* stream, sheaf_data** out);
sheaf_code sheaf_value_stored(const sheaf_value* stream, sheaf_data** out);
/* New data for a stream, or for a dictionary that is an object; compressed unless `plain` is not 0. */
sheaf_code sheaf_value_write(sheaf_value* stream, const void* bytes, size_t count, int32_t plain);

/* ---- form ---- */

int32_t sheaf_field_count(sheaf_document* doc);
sheaf_code sheaf_field_name(sheaf_document* doc, int32_t index, sheaf_data** out);
sheaf_code sheaf_field_value(sheaf_document* doc, const char* name, sheaf_data** out);
sheaf_code sheaf_field_set(sheaf_document* doc, const char* name, const char* value);
/* Draws the form's widgets or, where `all` is not 0, all annotations but links into the pages. */
sheaf_code sheaf_flatten(sheaf_document* doc, int32_t all);

/* ---- attachments ---- */

int32_t sheaf_attachment_count(sheaf_document* doc);
sheaf_code sheaf_attachment_name(sheaf_document* doc, int32_t index, sheaf_data** out);
sheaf_code sheaf_attachment_data(sheaf_document* doc, int32_t index, sheaf_data** out);
/* Takes the file of that name out of all places where the document has it. */
sheaf_code sheaf_attachment_remove(sheaf_document* doc, const char* name);
sheaf_code sheaf_attach_file(sheaf_document* doc, const char* path);
sheaf_code sheaf_attach(sheaf_document* doc, const char* name, const void* bytes, size_t count, const char* mime_type);

/* ---- images ---- */

sheaf_code sheaf_images_begin(sheaf_document* doc, sheaf_images** out);
/* Goes to the next image; 0 at the end. `info` may be NULL. */
int32_t sheaf_images_next(sheaf_images* images, sheaf_image_info* info);
/* Writes the image as a file into `folder`; its path. */
sheaf_code sheaf_images_save(const sheaf_images* images, const char* folder, sheaf_data** path);
/* The data with all filters but the last one taken off. */
sheaf_code sheaf_images_encoded(const sheaf_images* images, sheaf_data** out);
void sheaf_images_free(sheaf_images* images);

/* ---- signing ---- */

/* Saves the document as an update with a signature field, and seals it. */
sheaf_code sheaf_seal_signature(sheaf_document* doc, const sheaf_signature_options* options, sheaf_seal** out);
/* Two pairs of start and length. */
sheaf_code sheaf_seal_range(const sheaf_seal* seal, int64_t range[4]);
/* The SHA-256 digest of the bytes to be signed. */
sheaf_code sheaf_seal_sha256(const sheaf_seal* seal, uint8_t digest[32]);
/* Hands those bytes to `take`, piece by piece. */
sheaf_code sheaf_seal_digest(const sheaf_seal* seal, void (*take)(void* context, const void* bytes, size_t count),
                             void* context);
sheaf_code sheaf_seal_write(sheaf_seal* seal, const void* signature, size_t count);
void sheaf_seal_free(sheaf_seal* seal);

#ifdef __cplusplus
}
#endif

#endif
