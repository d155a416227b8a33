# cmake -D FILE=SOURCE.pb.cc -P LateDescriptors.cmake: protoc's classes register the descriptors of their schema when a program starts,
# which takes a tenth of the time of a short run. This removes the object that does so; the classes then register on first use.
file(READ ${FILE} text)
string(REGEX REPLACE "PROTOBUF_ATTRIBUTE_INIT_PRIORITY2 static ::_pbi::AddDescriptorsRunner [^\n]*\n" "" text "${text}")
file(WRITE ${FILE} "${text}")
