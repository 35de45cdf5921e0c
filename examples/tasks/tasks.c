/* The guide's tasks in C, one function each.
 *
 *   tasks SAMPLE.pdf SAMPLE.jpg FOLDER
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "sheaf/sheaf.h"

/* Ends the program with the message of what failed. */
static void must(sheaf_code code) {
  if (code == SHEAF_OK)
    return;
  fprintf(stderr, "%s\n", sheaf_last_error()->message);
  exit(2);
}

static sheaf_document* opened(const char* path) {
  sheaf_document* doc = NULL;
  must(sheaf_open(path, NULL, &doc));
  return doc;
}

static void open_and_read(const char* path) {
  sheaf_open_options options = {sizeof(options), "open sesame", NULL, NULL};
  sheaf_document* doc = NULL;
  must(sheaf_open(path, &options, &doc));
  for (int32_t i = 0; i < sheaf_page_count(doc); ++i) {
    sheaf_rect box;
    must(sheaf_page_media_box(doc, i, &box));
    printf("%g x %g, turned by %d\n", box.right - box.left, box.top - box.bottom, sheaf_page_rotation(doc, i));
  }
  sheaf_value *root, *form, *fields;
  must(sheaf_root(doc, &root));
  must(sheaf_value_get(root, "AcroForm", 0, &form));
  must(sheaf_value_get(form, "Fields", 0, &fields));
  for (int32_t i = 0; i < sheaf_value_size(fields); ++i) {
    sheaf_value *field, *name;
    sheaf_data* text;
    must(sheaf_value_get(fields, NULL, i, &field));
    must(sheaf_value_get(field, "T", 0, &name));
    must(sheaf_value_text(name, &text));
    printf("field %s\n", (const char*)sheaf_data_bytes(text));
    sheaf_data_free(text);
    sheaf_value_free(name);
    sheaf_value_free(field);
  }
  sheaf_value_free(fields);
  sheaf_value_free(form);
  sheaf_value_free(root);
  sheaf_close(doc);
}

static void change(const char* path) {
  sheaf_document* doc = opened(path);
  sheaf_value* root;
  must(sheaf_set_info(doc, "Title", "A day in Oulu"));
  must(sheaf_page_rotate(doc, 0, 90));
  must(sheaf_root(doc, &root));
  must(sheaf_value_set_text(root, "Lang", 0, "en"));
  must(sheaf_value_set_syntax(root, "ViewerPreferences", 0, "<</DisplayDocTitle true>>"));
  must(sheaf_save_update(doc));
  sheaf_value_free(root);
  sheaf_close(doc);
}

static void edit_pages(const char* path, const char* other_path, const char* out) {
  sheaf_document* doc = opened(path);
  sheaf_document* other = opened(other_path);
  must(sheaf_pages_insert(doc, -1, other, 0, 2));
  must(sheaf_page_move(doc, 3, 0));
  must(sheaf_page_remove(doc, 1));
  must(sheaf_save_as(doc, out, NULL));
  printf("%d pages\n", sheaf_page_count(doc));
  sheaf_close(other);
  sheaf_close(doc);
}

static void edit_content(const char* path, const char* out) {
  sheaf_document* doc = opened(path);
  sheaf_content* content;
  sheaf_writer* kept;
  must(sheaf_page_content(doc, 0, &content));
  must(sheaf_writer_new(&kept));
  while (sheaf_content_next(content)) {
    const char* name = sheaf_content_name(content);
    if (strcmp(name, "Tj") != 0 && strcmp(name, "TJ") != 0)
      must(sheaf_writer_add(kept, content));
  }
  must(sheaf_writer_add_text(kept, "1 0 0 rg 72 72 100 20 re f"));
  must(sheaf_page_write(doc, 0, kept));
  must(sheaf_save_as(doc, out, NULL));
  sheaf_writer_free(kept);
  sheaf_content_free(content);
  sheaf_close(doc);
}

static void fill(const char* path, const char* out) {
  sheaf_document* doc = opened(path);
  sheaf_data* city;
  must(sheaf_field_set(doc, "City", "Oulu"));
  must(sheaf_field_value(doc, "City", &city));
  printf("City: %s\n", (const char*)sheaf_data_bytes(city));
  must(sheaf_save_update(doc));
  must(sheaf_flatten(doc, 0));
  must(sheaf_save_as(doc, out, NULL));
  sheaf_data_free(city);
  sheaf_close(doc);
}

static void attach(const char* path, const char* file) {
  sheaf_document* doc = opened(path);
  must(sheaf_attach_file(doc, file));
  for (int32_t i = 0; i < sheaf_attachment_count(doc); ++i) {
    sheaf_data *name, *data;
    must(sheaf_attachment_name(doc, i, &name));
    must(sheaf_attachment_data(doc, i, &data)); /* sheaf_data_bytes and sheaf_data_size are what was embedded */
    printf("attachment %s\n", (const char*)sheaf_data_bytes(name));
    sheaf_data_free(data);
    sheaf_data_free(name);
  }
  must(sheaf_save_update(doc));
  sheaf_close(doc);
}

static void images(const char* path, const char* folder) {
  sheaf_document* doc = opened(path);
  sheaf_images* all;
  sheaf_image_info info = {sizeof(info), 0, 0, 0, 0, 0};
  must(sheaf_images_begin(doc, &all));
  while (sheaf_images_next(all, &info)) {
    sheaf_data* written;
    must(sheaf_images_save(all, folder, &written));
    printf("image of %d x %d\n", info.width, info.height);
    sheaf_data_free(written);
  }
  sheaf_images_free(all);
  sheaf_close(doc);
}

static void sign(const char* path, const void* signature, size_t count) {
  sheaf_document* doc = opened(path);
  sheaf_signature_options options = {.size = sizeof(options), .page = 0, .room = 8192, .field = "Author"};
  sheaf_seal* seal;
  uint8_t digest[32]; /* goes to whoever holds the key, who gives the signature */
  must(sheaf_seal_signature(doc, &options, &seal));
  must(sheaf_seal_sha256(seal, digest));
  must(sheaf_seal_write(seal, signature, count));
  printf("%d signature, a digest of %zu bytes\n", sheaf_signature_count(doc), sizeof(digest));
  sheaf_seal_free(seal);
  sheaf_close(doc);
}

static void encrypt(const char* path, const char* out) {
  sheaf_document* doc = opened(path);
  sheaf_document* locked = NULL;
  sheaf_save_options options = {.size = sizeof(options), .encrypt = 1, .user_password = "open sesame"};
  must(sheaf_save_as(doc, out, &options));
  printf("%s\n", sheaf_open(out, NULL, &locked) == SHEAF_NEEDS_PASSWORD ? "locked" : "open");
  sheaf_close(locked);
  sheaf_close(doc);
}

static void repair(const char* path, const char* out) {
  sheaf_document* doc = opened(path);
  for (int32_t i = 0; i < sheaf_repair_count(doc); ++i) {
    sheaf_data* text;
    must(sheaf_repair(doc, i, &text));
    printf("healed: %.*s\n", (int)strcspn(sheaf_data_bytes(text), ":"), (const char*)sheaf_data_bytes(text));
    sheaf_data_free(text);
  }
  must(sheaf_save_as(doc, out, NULL));
  sheaf_close(doc);
}

/* The path of a file of the folder. */
static const char* at(const char* folder, const char* name) {
  static char paths[4][4096];
  static int next = 0;
  char* path = paths[next++ % 4];
  snprintf(path, sizeof(paths[0]), "%s/%s", folder, name);
  return path;
}

/* A copy of a document for a task to change; with `cut` bytes off its end. */
static const char* copy_of(const char* path, const char* to, long cut) {
  FILE* in = fopen(path, "rb");
  FILE* out = fopen(to, "wb");
  char* bytes = malloc(1 << 20);
  if (in == NULL || out == NULL || bytes == NULL)
    exit(2);
  size_t count = fread(bytes, 1, 1 << 20, in);
  fwrite(bytes, 1, count - (size_t)cut, out);
  free(bytes);
  fclose(in);
  fclose(out);
  return to;
}

int main(int argc, char** argv) {
  if (argc < 4)
    return 2;
  const char* sample = argv[1];
  const char* folder = argv[3];
  const unsigned char no_signature[] = {0x30, 0x00}; /* a real one is made with the digest */
  mkdir(folder, 0777);
  open_and_read(sample);
  change(copy_of(sample, at(folder, "changed.pdf"), 0));
  edit_pages(sample, at(folder, "changed.pdf"), at(folder, "pages.pdf"));
  edit_content(sample, at(folder, "content.pdf"));
  fill(copy_of(sample, at(folder, "filled.pdf"), 0), at(folder, "flat.pdf"));
  attach(copy_of(sample, at(folder, "attached.pdf"), 0), argv[2]);
  images(sample, folder);
  sign(copy_of(sample, at(folder, "signed.pdf"), 0), no_signature, sizeof(no_signature));
  encrypt(sample, at(folder, "locked.pdf"));
  open_and_read(at(folder, "locked.pdf"));
  repair(copy_of(sample, at(folder, "cut.pdf"), 60), at(folder, "repaired.pdf"));
  return 0;
}
