# cmake -D FILE=SOURCE.pb.cc -P LateDescriptors.cmake: protoc's classes register the descriptors of their schema when a program starts,
# which is a tenth of the time of a short run. Without the object that does so they register them when one is first asked for.
file(READ ${FILE} text)
string(REGEX REPLACE "PROTOBUF_ATTRIBUTE_INIT_PRIORITY2 static ::_pbi::AddDescriptorsRunner [^\n]*\n" "" text "${text}")
file(WRITE ${FILE} "${text}")
