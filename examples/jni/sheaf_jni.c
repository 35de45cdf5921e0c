/* The native methods of Sheaf.java over the C interface. A handle is a document with the bytes that it borrows. */
#include <jni.h>
#include <stdint.h>
#include <stdlib.h>

#include "sheaf/sheaf.h"

typedef struct Document {
  sheaf_document* document;
  void* bytes;
} Document;

static void throw_failure(JNIEnv* env) {
  const sheaf_error* const error = sheaf_last_error();
  const jclass type = (*env)->FindClass(env, "Sheaf$Failure");
  const jmethodID make = (*env)->GetMethodID(env, type, "<init>", "(IIJLjava/lang/String;)V");
  const jstring message = (*env)->NewStringUTF(env, error->message);
  const jobject failure =
      (*env)->NewObject(env, type, make, (jint)error->code, (jint)error->object, (jlong)error->offset, message);
  (*env)->Throw(env, (jthrowable)failure);
}

static sheaf_document* document_of(jlong handle) {
  return handle != 0 ? ((Document*)(intptr_t)handle)->document : NULL;
}

static jlong hand_out(JNIEnv* env, sheaf_code code, sheaf_document* document, void* bytes) {
  Document* const made = code == SHEAF_OK ? malloc(sizeof(Document)) : NULL;
  if (made == NULL) {
    throw_failure(env);
    sheaf_close(document);
    free(bytes);
    return 0;
  }
  made->document = document;
  made->bytes = bytes;
  return (jlong)(intptr_t)made;
}

JNIEXPORT jlong JNICALL Java_Sheaf_open(JNIEnv* env, jclass type, jstring path) {
  (void)type;
  const char* const text = (*env)->GetStringUTFChars(env, path, NULL);
  sheaf_document* document = NULL;
  const sheaf_code code = sheaf_open(text, NULL, &document);
  (*env)->ReleaseStringUTFChars(env, path, text);
  return hand_out(env, code, document, NULL);
}

JNIEXPORT jlong JNICALL Java_Sheaf_openBytes(JNIEnv* env, jclass type, jbyteArray bytes) {
  (void)type;
  const jsize count = (*env)->GetArrayLength(env, bytes);
  void* const copy = malloc((size_t)count + 1);
  sheaf_document* document = NULL;
  if (copy != NULL)
    (*env)->GetByteArrayRegion(env, bytes, 0, count, copy);
  const sheaf_code code = sheaf_open_memory(copy, (size_t)count, NULL, &document);
  return hand_out(env, code, document, copy);
}

JNIEXPORT jint JNICALL Java_Sheaf_pageCount(JNIEnv* env, jclass type, jlong handle) {
  (void)env, (void)type;
  return sheaf_page_count(document_of(handle));
}

JNIEXPORT jint JNICALL Java_Sheaf_rotation(JNIEnv* env, jclass type, jlong handle, jint page) {
  (void)env, (void)type;
  return sheaf_page_rotation(document_of(handle), page);
}

JNIEXPORT void JNICALL Java_Sheaf_rotate(JNIEnv* env, jclass type, jlong handle, jint page, jint degrees) {
  (void)type;
  if (sheaf_page_rotate(document_of(handle), page, degrees) != SHEAF_OK)
    throw_failure(env);
}

JNIEXPORT jbyteArray JNICALL Java_Sheaf_save(JNIEnv* env, jclass type, jlong handle) {
  (void)type;
  sheaf_data* data = NULL;
  if (sheaf_save_memory(document_of(handle), NULL, &data) != SHEAF_OK) {
    throw_failure(env);
    return NULL;
  }
  const jsize count = (jsize)sheaf_data_size(data);
  const jbyteArray bytes = (*env)->NewByteArray(env, count);
  if (bytes != NULL)
    (*env)->SetByteArrayRegion(env, bytes, 0, count, sheaf_data_bytes(data));
  sheaf_data_free(data);
  return bytes;
}

JNIEXPORT void JNICALL Java_Sheaf_close(JNIEnv* env, jclass type, jlong handle) {
  (void)env, (void)type;
  Document* const held = (Document*)(intptr_t)handle;
  if (held == NULL)
    return;
  sheaf_close(held->document);
  free(held->bytes);
  free(held);
}
