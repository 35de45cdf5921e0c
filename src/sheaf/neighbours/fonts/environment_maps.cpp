// The environment's character maps: its share in the resources that all copies have in common.
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/cmap_resources.h"
#include "sheaf/neighbours/fonts/environment.h"

using namespace sheaf;

bool CPDFEnviroment::add_cmap_folder(const char* path) {
  return maps_ != nullptr && maps_->add_folder(path);
}

CPDFCMap* CPDFEnviroment::load_cmap(const char* name) {
  return maps_ != nullptr ? maps_->load_cmap(name) : nullptr;
}

void CPDFEnviroment::release_cmap(CPDFCMap* map) {
  CPDFSharedCMap::release(map);
}

CPDFCMapToUnicode* CPDFEnviroment::load_cmap_tounicode(const char* name) {
  return maps_ != nullptr ? maps_->load_tounicode(name) : nullptr;
}

void CPDFEnviroment::release_cmap_tounicode(CPDFCMapToUnicode* map) {
  CPDFSharedCMap::release(map);
}
