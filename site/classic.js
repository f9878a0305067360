// Calendars and shortcuts for the request form of the classic edition. The form works without it.
'use strict';
(() => {
  const form = document.querySelector('form');
  const two = (number) => String(number).padStart(2, '0');
  const sides = {
    first: { month: form.sm, day: form.sd, year: form.sy, picker: document.getElementById('first-picker') },
    last: { month: form.em, day: form.ed, year: form.ey, picker: document.getElementById('last-picker') },
  };

  // What stays on this machine is read by nobody on the way.
  document.getElementById('insecure').hidden = window.isSecureContext;

  function show(side, date) {
    side.month.value = two(date.getMonth() + 1);
    side.day.value = two(date.getDate());
    side.year.value = date.getFullYear();
    side.picker.value = `${date.getFullYear()}-${two(date.getMonth() + 1)}-${two(date.getDate())}`;
  }

  for (const side of Object.values(sides)) {
    side.picker.hidden = false;
    side.picker.addEventListener('change', () => {
      const [year, month, day] = side.picker.value.split('-').map(Number);
      if (day) { show(side, new Date(year, month - 1, day)); }
    });
  }

  const ranges = {
    today: (y, m, d) => [new Date(y, m, d), new Date(y, m, d)],
    yesterday: (y, m, d) => [new Date(y, m, d - 1), new Date(y, m, d - 1)],
    week: (y, m, d) => [new Date(y, m, d - 6), new Date(y, m, d)],
    month: (y, m, d) => [new Date(y, m, 1), new Date(y, m, d)],
    'last-month': (y, m) => [new Date(y, m - 1, 1), new Date(y, m, 0)],
  };
  const shortcuts = document.getElementById('shortcuts');
  shortcuts.hidden = false;
  shortcuts.addEventListener('click', (event) => {
    const range = ranges[event.target.dataset.days];
    if (!range) { return; }
    const now = new Date();
    const [first, last] = range(now.getFullYear(), now.getMonth(), now.getDate());
    show(sides.first, first);
    show(sides.last, last);
  });
})();
