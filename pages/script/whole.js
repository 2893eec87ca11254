// What is cut in a row is shown whole, beside it, while the mouse rests on it or it has the focus. It stays while the mouse
// is on it, and goes with Escape. Without script the browser shows the text's title.
'use strict';
(function () {
  var find = Document.prototype.querySelector.bind(document), findAll = Document.prototype.querySelectorAll.bind(document);
  var SHOW = 250, HIDE = 250;  // milliseconds
  var place, of = null, timer = 0;

  function hide() {
    clearTimeout(timer);
    if (of) of.removeAttribute('aria-describedby');
    of = null;
    place.hidden = true;
  }
  function show(part) {
    var box = part.getBoundingClientRect(), width = document.documentElement.clientWidth;
    clearTimeout(timer);
    if (of && of !== part) hide();
    of = part;
    place.textContent = part.getAttribute('data-whole');
    place.hidden = false;
    part.setAttribute('aria-describedby', 'whole');
    place.style.top = box.bottom + window.scrollY + 4 + 'px';
    place.style.left = Math.max(8, Math.min(box.left, width - place.offsetWidth - 8)) + window.scrollX + 'px';
  }
  function later(work, milliseconds) {
    clearTimeout(timer);
    timer = setTimeout(work, milliseconds);
  }
  function partOf(event) { return event.target.closest ? event.target.closest('[data-whole]') : null; }

  document.addEventListener('DOMContentLoaded', function () {
    var parts = Array.prototype.slice.call(findAll('#boxes td [title]')).filter(function (part) { return /^(a|span)$/.test(part.localName); });
    if (!parts.length || !find('main')) return;
    parts.forEach(function (part) {
      part.setAttribute('data-whole', part.getAttribute('title'));
      part.removeAttribute('title');
    });
    place = document.createElement('div');
    place.id = 'whole';
    place.hidden = true;
    place.setAttribute('role', 'tooltip');
    place.setAttribute('dir', 'auto');
    find('main').append(place);

    document.addEventListener('mouseover', function (event) {
      var part = partOf(event);
      if (part) later(function () { show(part); }, of ? 0 : SHOW);
      else if (place.contains(event.target)) clearTimeout(timer);
      else if (of && document.activeElement !== of) later(hide, HIDE);
      else if (!of) clearTimeout(timer);
    });
    document.addEventListener('focusin', function (event) {
      var part = partOf(event);
      if (part && part.matches(':focus-visible')) show(part); else if (of) hide();
    });
    document.addEventListener('focusout', function () { if (of) hide(); });
    document.addEventListener('keydown', function (event) { if (event.key === 'Escape' && of) hide(); });
  });
})();
