// The operators: free functions, results through pointers, iconic results first.
#ifndef HALCONCPP_OPERATORS_H
#define HALCONCPP_OPERATORS_H

#include "halconcpp/HObject.h"

namespace HalconCpp {

// Control values. The flag operators answer one integer per element, non-zero meaning yes; the type operators answer
// "integer", "real", "string", "dict", "matrix", "object_model_3d" or "dl_model" ("mixed" for a whole tuple of
// several).
HALCONCPP_API void TupleIsHandleElem(const HTuple& t, HTuple* flags);
HALCONCPP_API void TupleIsStringElem(const HTuple& t, HTuple* flags);
HALCONCPP_API void TupleIsIntElem(const HTuple& t, HTuple* flags);
HALCONCPP_API void TupleSemType(const HTuple& t, HTuple* name);
HALCONCPP_API void TupleSemTypeElem(const HTuple& t, HTuple* names);

// System.
HALCONCPP_API void SetSystem(const HTuple& name, const HTuple& value);
HALCONCPP_API void GetSystem(const HTuple& query, HTuple* information);

// Handles. "keys" (with an empty key) lists the keys, "key_data_type" answers "object" or "tuple"; a handle without
// keys rejects.
HALCONCPP_API void GetHandleParam(const HTuple& handle, const HTuple& gen_name, const HTuple& key, HTuple* value);
HALCONCPP_API void GetHandleTuple(const HTuple& handle, const HTuple& key, HTuple* tuple);
HALCONCPP_API void GetHandleObject(HObject* object, const HTuple& handle, const HTuple& key);
HALCONCPP_API void GetSizeMatrix(const HTuple& matrix, HTuple* rows, HTuple* columns);
// The values row by row.
HALCONCPP_API void GetFullMatrix(const HTuple& matrix, HTuple* values);
HALCONCPP_API void ReadObjectModel3d(const HTuple& file, const HTuple& scale, const HTuple& gen_names,
                                     const HTuple& gen_values, HTuple* model, HTuple* status);
HALCONCPP_API void GetObjectModel3dParams(const HTuple& model, const HTuple& gen_names, HTuple* values);

// Iconic files.
HALCONCPP_API void ReadObject(HObject* object, const HTuple& file);
// One image per file name, in order. The format is decided by content, not by name.
HALCONCPP_API void ReadImage(HObject* image, const HTuple& file);
HALCONCPP_API void WriteObject(const HObject& object, const HTuple& file);
HALCONCPP_API void WriteImage(const HObject& image, const HTuple& format, const HTuple& fill_color, const HTuple& file);
// One open polyline per object, in order; x is the column and y the row.
HALCONCPP_API void WriteContourXldDxf(const HObject& contours, const HTuple& file);
HALCONCPP_API void WritePolygonXldDxf(const HObject& polygons, const HTuple& file);

// Object tuples. Objects are numbered from 1.
HALCONCPP_API void CountObj(const HObject& objects, HTuple* number);
HALCONCPP_API void SelectObj(const HObject& objects, HObject* selected, const HTuple& index);
// One name per object: "image", "region", "xld_cont", "xld_poly", "xld_parallel".
HALCONCPP_API void GetObjClass(const HObject& objects, HTuple* names);
HALCONCPP_API void ConcatObj(const HObject& objects1, const HObject& objects2, HObject* concat);

// Images.
HALCONCPP_API void ConvertImageType(const HObject& image, HObject* converted, const HTuple& type);
HALCONCPP_API void ScaleImageMax(const HObject& image, HObject* scaled);
HALCONCPP_API void Decompose3(const HObject& image, HObject* c1, HObject* c2, HObject* c3);
HALCONCPP_API void Decompose4(const HObject& image, HObject* c1, HObject* c2, HObject* c3, HObject* c4);
HALCONCPP_API void Compose4(const HObject& c1, const HObject& c2, const HObject& c3, const HObject& c4, HObject* image);
HALCONCPP_API void InterleaveChannels(const HObject& image, HObject* interleaved, const HTuple& pixel_format,
                                      const HTuple& row_bytes, const HTuple& alpha);
HALCONCPP_API void RegionToBin(const HObject& region, HObject* image, const HTuple& foreground,
                               const HTuple& background, const HTuple& width, const HTuple& height);
HALCONCPP_API void AreaCenter(const HObject& regions, HTuple* area, HTuple* row, HTuple* column);

// XLD and regions. Coordinates are row and column in pixels; angles are in radians.
HALCONCPP_API void GetContourXld(const HObject& contour, HTuple* row, HTuple* col);
HALCONCPP_API void GetPolygonXld(const HObject& polygon, HTuple* row, HTuple* col, HTuple* length, HTuple* phi);
HALCONCPP_API void GetParallelsXld(const HObject& parallels, HTuple* row1, HTuple* col1, HTuple* length1, HTuple* phi1,
                                   HTuple* row2, HTuple* col2, HTuple* length2, HTuple* phi2);
HALCONCPP_API void LengthXld(const HObject& xld, HTuple* length);
HALCONCPP_API void GetRegionRuns(const HObject& region, HTuple* row, HTuple* column_begin, HTuple* column_end);

}  // namespace HalconCpp

#endif
