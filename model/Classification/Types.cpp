// The home of the namespace's types: their tables are made here.
#include "model/Classification/AppRecognition.h"

KIV_ENTITY_DEFINE(Classification::AppConfig)
KIV_ENTITY_DEFINE(Classification::AppRecognitionConfig)
KIV_ENTITY_DEFINE(Classification::AppRecognitionStatus)
KIV_ENTITY_DEFINE(Classification::FieldSetL4PortSubConfig)
KIV_ENTITY_DEFINE(Classification::FieldSetL4PortConfig)
KIV_ENTITY_DEFINE(Classification::FieldSetIpPrefixSubConfig)
KIV_ENTITY_DEFINE(Classification::FieldSetIpPrefixConfig)
KIV_ENTITY_DEFINE(Classification::FieldSetConfig)
