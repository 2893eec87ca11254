// The script of the page that waits: asks how far things are and loads the page that was asked for once they are done.
'use strict';
(function () {
  var wait = 500;  // milliseconds between two looks

  function show(task) {
    var bar = document.querySelector('progress');
    document.querySelector('.text').textContent = task.text;
    if (task.total) { bar.max = task.total; bar.value = task.done; } else { bar.removeAttribute('value'); }
  }

  function look() {
    var request = new XMLHttpRequest();
    request.open('GET', document.documentElement.getAttribute('data-status'));
    request.onload = function () {
      var status = null;
      try { status = JSON.parse(request.responseText); } catch (e) { /* the session is over, perhaps: the page will tell */ }
      if (!status || !status.underWay) { location.reload(); return; }
      show(status.underWay);
      setTimeout(look, wait);
    };
    request.onerror = function () { setTimeout(look, 4 * wait); };
    request.send();
  }

  document.addEventListener('DOMContentLoaded', function () { setTimeout(look, wait); });
})();
