# The headers that are installed. Each compiles by itself, and includes no other than these.
set(SHEAF_PUBLIC_HEADERS
  # What an application includes: the C++ layer, or the C interface.
  sheaf.h
  sheaf.hpp
  # Parts of the layer, which sheaf.hpp includes.
  document/content/content_reader.h
  layer/content.h
  layer/core_ref.h
  layer/data.h
  layer/document.h
  layer/object.h
  layer/pages.h
  layer/parts.h
  layer/progress.h
  layer/result.h
  layer/signing.h
  layer/storage.h
  layer/value.h
  # What an engine includes that works on objects: the document with its table,
  document/doc.h
  # and what it needs of these.
  document/diff/doc_diff.h
  document/forms/form_data.h
  document/merge/doc_merge.h
  document/metadata/xmp_texts.h
  document/outline/outline.h
  document/pages/page_arrange.h
  document/pages/page_labels.h
  document/pages/page_stamp.h
  document/paths/object_path.h
  document/revisions/revisions.h
  document/signatures/signature_check.h
  document/signatures/signature_list.h
  document/text/text_setter.h
  document/writer/doc_writer.h
  filters/stream_filter.h
  neighbours/fonts/environment.h
  neighbours/fonts/font.h
  neighbours/page/acro_form.h
  neighbours/page/bmp32.h
  neighbours/page/form.h
  neighbours/security/encrypter.h
  object/parse_buf.h
  # Parts of these, which they include.
  base/fixed.h
  base/grow_array.h
  base/heap.h
  base/number_map.h
  base/scope_guard.h
  base/stream.h
  base/visited_set.h
  cache/font_caches.h
  document/merge/merge_report.h
  document/save/save_kinds.h
  document/writer/write_options.h
  filters/picture_work.h
  neighbours/page/page.h
  neighbours/security/standard_handler.h
  object/array.h
  object/dictionary.h
  object/encrypt.h
  object/object.h
  object/sec_hand.h
  object/stream_rec.h
  xref/guards.h
  xref/xref_table.h
)
