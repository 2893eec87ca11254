#include "pages/message_page.h"

namespace vornelle {

std::string messagePage(std::string_view text) {
  return "<html><body><h2>" + std::string(text) +
         "</h2>\r\n"
         "<a href='Javascript:history.back();'>Go Back</a>\r\n"
         "</body></html>";
}

std::string notFoundPage() {
  return "<html>\r\n"
         "\r\n"
         "<head>\r\n"
         "<style>\r\n"
         "a:link          {font:8pt/11pt verdana; color:red; text-decoration:none}\r\n"
         "a:visited       {font:8pt/11pt verdana; color:red; text-decoration:none}\r\n"
         "a:hover          {font:8pt/11pt verdana; color:red; text-decoration:underline}\r\n"
         "</style>\r\n"
         "<meta HTTP-EQUIV=\"Content-Type\" Content=\"text-html; charset=Windows-1252\">\r\n"
         "<title>HTTP 404 Not Found</title>\r\n"
         "</head>\r\n"
         "\r\n"
         "<body bgcolor=\"#FFFFFF\">\r\n"
         "<p><font face=\"Verdana, Arial, Helvetica, sans-serif\" size=\"2\"><b><font "
         "color=\"#FF0000\">The\r\n"
         "  page cannot be found </font></b></font></p>\r\n"
         "<p>&nbsp;</p>\r\n"
         "<p><font face=\"Verdana, Arial, Helvetica, sans-serif\" size=\"1\">The page you are\r\n"
         "  looking for might have been removed, had its name changed, or is temporarily\r\n"
         "  unavailable. </font></p>\r\n"
         "<p align=\"center\">&nbsp;</p>\r\n"
         "<p align=\"center\"><font size=\"1\" face=\"Verdana, Arial, Helvetica, sans-serif\" "
         "color=\"#0000FF\"><i>"
         "<font color=\"#000000\">HTTP\r\n"
         "  404 - File not found</font></i></font></p>\r\n"
         "</body>\r\n"
         "</html>\r\n"
         "\r\n"
         "\r\n";
}

}  // namespace vornelle
