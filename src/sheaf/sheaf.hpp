// The library in one include: documents, pages, values, forms, attachments, images, content and signatures. The
// classes with the prefix CPDF are the layer below, which `Document::below` leads to.
#pragma once

#include "sheaf/layer/content.h"
#include "sheaf/layer/document.h"
#include "sheaf/layer/object.h"
#include "sheaf/layer/pages.h"
#include "sheaf/layer/parts.h"
#include "sheaf/layer/result.h"
#include "sheaf/layer/value.h"
