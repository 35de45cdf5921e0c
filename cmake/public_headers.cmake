# The headers that are installed. Each compiles by itself, and includes no other than these. An application includes
# the first two alone; the other groups say for whom they are there.
set(SHEAF_PUBLIC_HEADERS
  # For an application: the C++ layer, or the C interface.
  sheaf.h
  sheaf.hpp
  # The parts of sheaf.hpp, which includes them all,
  document/content/content_reader.h
  layer/content.h
  layer/core_ref.h
  layer/document.h
  layer/object.h
  layer/pages.h
  layer/parts.h
  layer/result.h
  layer/signing.h
  layer/value.h
  # and the values and bytes that they hand out.
  base/fixed.h
  base/grow_array.h
  base/heap.h
  base/scope_guard.h
  object/array.h
  object/dictionary.h
  object/object.h
  object/parse_buf.h
  # For an engine with a page layer of its own: the document and its table, with what the table holds by value,
  base/stream.h
  base/number_map.h
  base/visited_set.h
  cache/font_caches.h
  document/doc.h
  filters/picture_work.h
  xref/guards.h
  xref/xref_table.h
  # the classes that the table's members take and give,
  filters/stream_filter.h
  neighbours/fonts/environment.h
  neighbours/fonts/font.h
  neighbours/page/acro_form.h
  neighbours/page/page.h
  neighbours/security/encrypter.h
  neighbours/security/standard_handler.h
  object/security.h
  # and a header for each thing that docs/below.md does with a document as a whole.
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
  document/signatures/signatures.h
  document/text/text_setter.h
  document/writer/doc_writer.h
)
