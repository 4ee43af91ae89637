# TinyXML reads nested elements by recursion, so a text of nothing but opening tags uses up the stack.
# This alters its source: an element that lies too deep is an error, like any other that ends the
# reading. For a build of TinyXML by any means, before it is compiled:
#
#   cmake -DTINYXML_SOURCE=FOLDER -P limit_tinyxml_depth.cmake
#
# In this folder, as vcpkg builds the port anew only when a file in here changes.
#
# The altered header defines TIXML_DEEPEST_ELEMENT, without which the product does not compile.
set(deepest_element 500)

set(parser "${TINYXML_SOURCE}/tinyxmlparser.cpp")
file(READ "${parser}" text)
set(beginning "TiXmlElement::Parse[(][^)]*[)][ \t\r\n]*{")
string(REGEX MATCHALL "${beginning}" found "${text}")
list(LENGTH found count)
if(NOT count EQUAL 1 OR text MATCHES "TIXML_DEEPEST_ELEMENT")
  message(FATAL_ERROR "${parser}: another version of TinyXML, or altered already")
endif()
string(REGEX REPLACE "${beginning}" "\\0
	// Altered for FolivoPlugin, no part of the original: the depth is limited.
	{
		int depth = 0;
		for ( const TiXmlNode* ancestor = parent; ancestor; ancestor = ancestor->Parent() )
			++depth;
		if ( depth > TIXML_DEEPEST_ELEMENT )
		{
			if ( GetDocument() ) GetDocument()->SetError( TIXML_ERROR, 0, 0, encoding );
			return 0;
		}
	}
" text "${text}")
file(WRITE "${parser}" "${text}")

file(APPEND "${TINYXML_SOURCE}/tinyxml.h" "
// Altered for FolivoPlugin, no part of the original: TiXmlDocument::Parse reads elements that have up
// to so many levels, the root's being the first. At a deeper one it stops with TIXML_ERROR, which it
// sets for nothing else.
#define TIXML_DEEPEST_ELEMENT ${deepest_element}
")
